// Tests of the media header parsers on real recordings (testdata/, made with ffmpeg)
// and on copies of them that are truncated or rewritten, and on streams built here.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>

#include "media/parsers.h"
#include "test_support.h"

namespace media {
namespace {

using Seconds = std::optional<std::int64_t>;

std::string readSample(const std::string& name) {
  return testing_support::readFile(std::string(ARCHIVE_TESTDATA) + "/" + name);
}

// Reads `bytes` as the file, range after range as the probe asks, checking every range
// against the file and the read budget.
Seconds durationOf(const std::string& bytes, const char* extension) {
  DurationProbe probe(bytes.size(), extension);
  while (!probe.done()) {
    const ByteRange range = probe.next();
    EXPECT_TRUE(range.length >= 1 && range.length <= kMaxReadLength &&
                range.offset + range.length <= bytes.size());
    probe.add(bytes.substr(std::min<std::size_t>(range.offset, bytes.size()), range.length));
  }
  EXPECT_LE(probe.reads(), std::size_t(kMaxReads));
  if (probe.answer().verdict == Verdict::duration) return probe.answer().seconds;
  return std::nullopt;
}

void putBe32(std::string& b, std::size_t offset, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[offset + i] = char(v >> (24 - 8 * i));
}

void putLe32(std::string& b, std::size_t offset, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[offset + i] = char(v >> (8 * i));
}

// ffprobe's format duration of each sample, rounded (see testdata/README.md); nothing
// for fragmented files that carry no total in their headers. For some, every prefix
// that ends before the header (the moov box or the hdrl list) gives no duration.
TEST(MediaDurationTest, RealSamplesWhateverTheExtensionAndTheirPrefixes) {
  const std::tuple<const char*, const char*, Seconds, const char*> cases[] = {
      {"moov_first_3s.mp4", "mp4", 3, "moov"},
      {"moov_last_5s.mp4", "mp4", 5, "moov"},
      {"quicktime_7s.mov", "mov", 7, "moov"},
      {"riff_5s.avi", "avi", 5, "hdrl"},
      {"transport_7s.ts", "ts", 7, ""},
      {"bluray_4s.m2ts", "m2ts", 4, ""},
      {"fragmented_mehd_v0_4s.mp4", "mp4", 4, ""},
      {"fragmented_mehd_v1_4s.mp4", "mp4", 4, "moov"},
      {"fragmented_3s.mp4", "mp4", std::nullopt, ""},
      {"fragmented_first_second_in_moov_6s.mp4", "mp4", std::nullopt, ""},
  };
  for (const auto& [file, extension, seconds, header] : cases) {
    const std::string bytes = readSample(file);
    EXPECT_EQ(durationOf(bytes, extension), seconds) << file;
    EXPECT_EQ(durationOf(bytes, "bin"), seconds) << file << " named .bin";
    if (!*header) continue;
    const std::size_t at = bytes.find(header);
    const auto* size = reinterpret_cast<const std::uint8_t*>(bytes.data() + at - 4);
    const std::size_t end = *header == 'h' ? at + le32(size) : at - 4 + be32(size);
    for (std::size_t cut = 0; cut < end; ++cut)
      ASSERT_EQ(durationOf(bytes.substr(0, cut), extension), std::nullopt) << file << " " << cut;
  }
}

std::string box(const char* type, const std::string& payload) {
  std::string b(8, '\0');
  putBe32(b, 0, std::uint32_t(8 + payload.size()));
  return b.replace(4, 4, type) + payload;
}

// A movie header (version 0 or 1) with the given time scale and duration.
std::string mvhd(int version, std::uint32_t timescale, std::uint64_t duration) {
  std::string p(version == 1 ? 32 : 20, '\0');
  p[0] = char(version);
  putBe32(p, version == 1 ? 20 : 12, timescale);
  if (version == 1) putBe32(p, 24, std::uint32_t(duration >> 32));
  putBe32(p, version == 1 ? 28 : 16, std::uint32_t(duration));
  return box("mvhd", p + std::string(80, '\0'));
}

TEST(Mp4RewriteTest, SizeFormsVersionsAndHostileValues) {
  const std::string ftyp = box("ftyp", std::string("isom\0\0\0\0isom", 12));
  const std::string moov = box("moov", mvhd(0, 600, 4500));  // 7.5 s
  const std::string largeMdat("\0\0\0\1mdat\0\0\0\0\0\0\0\024data", 20);
  const std::string hugeLarge("\0\0\0\1mdat\377\377\377\377\0\0\0\024data", 20);
  const auto movie = [&ftyp](const std::string& inside) { return ftyp + box("moov", inside); };
  const std::tuple<const char*, std::string, Seconds> cases[] = {
      {"moov after a 64-bit mdat", ftyp + largeMdat + moov, 8},
      {"moov with size 0 (to the end)", ftyp + std::string(4, '\0') + moov.substr(4), 8},
      {"mvhd version 1", movie(mvhd(1, 90000, 90000ull * 3600 * 15)), 54000},
      {"mvhd duration rounds half up", movie(mvhd(0, 1000, 2500)), 3},
      {"31 days", movie(mvhd(0, 1, 2678400)), 2678400},
      {"31 days and a second", movie(mvhd(0, 1, 2678401)), std::nullopt},
      {"64-bit size past the end", ftyp + hugeLarge + moov, std::nullopt},
      {"time scale 0", movie(mvhd(0, 0, 4500)), std::nullopt},
      {"duration unknown", movie(mvhd(0, 90000, 0xffffffff)), std::nullopt},
      {"mvhd cut short", movie(box("mvhd", std::string(12, '\0'))), std::nullopt},
      {"mvex without mehd", movie(mvhd(0, 1000, 1000) + box("mvex", "")), std::nullopt},
  };
  for (const auto& [what, bytes, seconds] : cases)
    EXPECT_EQ(durationOf(bytes, "mp4"), seconds) << what;
}

// ffmpeg reserves the OpenDML list as JUNK and turns it into LIST odml once a file
// outgrows 1 GiB; the rows that start with "LIST" do the same by hand.
TEST(AviRewriteTest, OpenDmlCountWinsWhenSetAndDamageGivesNoDuration) {
  const std::string original = readSample("riff_5s.avi");
  const std::size_t avih = original.find("avih"), hdrl = original.find("hdrl");
  const std::size_t odml = original.find("odml");
  const std::tuple<const char*, std::size_t, std::uint32_t, Seconds> cases[] = {
      {"LIST odml with a count of 0", odml + 12, 0, 5},
      {"LIST odml with 50 frames of 200 ms", odml + 12, 50, 10},
      {"0 microseconds per frame", avih + 8, 0, std::nullopt},
      {"0 frames", avih + 24, 0, std::nullopt},
      {"hdrl size past the end", hdrl - 4, 0x7fffffff, std::nullopt},
      {"years of frames", avih + 24, 0xffffffff, std::nullopt},
  };
  for (const auto& [what, offset, value, seconds] : cases) {
    std::string bytes = original;
    if (what[0] == 'L') bytes.replace(odml - 8, 4, "LIST");
    putLe32(bytes, offset, value);
    EXPECT_EQ(durationOf(bytes, "avi"), seconds) << what;
  }
}

// 40 MiB of null packets; the first and the last carry a PCR ten minutes apart, the clock
// wrapping in between: found within the budget of reads, so by reading both ends.
TEST(TsRewriteTest, LongStreamsAreReadAtBothEndsAndTheClockWrapIsBridged) {
  const std::string nullPacket = std::string("\x47\x1f\xff\x10", 4) + std::string(184, '\xff');
  std::string bytes;
  for (std::size_t i = 0; i < 40 * 1024 * 1024 / 188; ++i) bytes += nullPacket;
  const std::uint64_t wrap = (std::uint64_t(1) << 33) * 300, first = wrap - 27000000ull * 300;
  for (std::size_t offset : {std::size_t(0), bytes.size() - 188}) {
    const std::uint64_t pcr = (first + (offset ? 27000000ull * 600 : 0)) % wrap;
    const std::uint64_t base = pcr / 300, ext = pcr % 300;
    bytes.replace(offset + 1, 5, "\x01\x00\x20\x07\x10", 5);  // PID 256, PCR flag
    putBe32(bytes, offset + 6, std::uint32_t(base >> 1));
    bytes[offset + 10] = char(((base & 1) << 7) | 0x7e | (ext >> 8));
    bytes[offset + 11] = char(ext);
  }
  EXPECT_EQ(durationOf(bytes, "ts"), 600);
}

}  // namespace
}  // namespace media
