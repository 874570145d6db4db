// Tests of the media header parsers on real recordings (testdata/, made with ffmpeg)
// and on copies of them that are truncated, corrupted or rewritten in place.
#include "media/parsers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <tuple>

#include "test_support.h"

namespace media {
namespace {

using Seconds = std::optional<std::int64_t>;

std::string readSample(const std::string& name) {
  return testing_support::readFile(std::string(ARCHIVE_TESTDATA) + "/" + name);
}

struct Probe {
  Answer answer;
  int reads = 0;
};

// Reads `bytes` as the file, range after range as probeDuration asks, checking every
// range against the file and the read budget.
Probe probe(const std::string& bytes, const char* extension) {
  Probe p;
  ByteWindows windows;
  ByteRange range = firstRange(bytes.size());
  for (;;) {
    ++p.reads;
    windows.add(range, bytes.substr(std::min<std::size_t>(range.offset, bytes.size()), range.length));
    p.answer = probeDuration(windows, bytes.size(), extension);
    if (p.answer.verdict != Verdict::need) return p;
    range = p.answer.next;
    EXPECT_GE(range.length, 1u);
    EXPECT_LE(range.length, kMaxReadLength);
    EXPECT_LE(range.offset + range.length, bytes.size());
    if (p.reads > kMaxReads) {
      ADD_FAILURE() << "more than " << kMaxReads << " reads";
      return p;
    }
  }
}

Seconds durationOf(const std::string& bytes, const char* extension) {
  const Answer a = probe(bytes, extension).answer;
  if (a.verdict != Verdict::duration) return std::nullopt;
  return a.seconds;
}

const std::uint8_t* at(const std::string& b, std::size_t offset) {
  return reinterpret_cast<const std::uint8_t*>(b.data() + offset);
}

void putBe32(std::string& b, std::size_t offset, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[offset + i] = char(v >> (24 - 8 * i));
}

void putLe32(std::string& b, std::size_t offset, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[offset + i] = char(v >> (8 * i));
}

// ffprobe's format duration of each sample, rounded (see testdata/README.md); nothing
// for fragmented files that carry no total in their headers.
struct Sample {
  const char* file;
  const char* extension;
  Seconds seconds;
};
const Sample kSamples[] = {
    {"moov_first_3s.mp4", "mp4", 3},
    {"moov_last_5s.mp4", "mp4", 5},
    {"quicktime_7s.mov", "mov", 7},
    {"riff_5s.avi", "avi", 5},
    {"transport_7s.ts", "ts", 7},
    {"bluray_4s.m2ts", "m2ts", 4},
    {"fragmented_mehd_v0_4s.mp4", "mp4", 4},
    {"fragmented_mehd_v1_4s.mp4", "mp4", 4},
    {"fragmented_3s.mp4", "mp4", std::nullopt},
    {"fragmented_first_second_in_moov_6s.mp4", "mp4", std::nullopt},
};

TEST(MediaDurationTest, RealSamplesMatchFfprobeWhateverTheExtension) {
  for (const Sample& s : kSamples) {
    const std::string bytes = readSample(s.file);
    EXPECT_EQ(durationOf(bytes, s.extension), s.seconds) << s.file;
    EXPECT_EQ(durationOf(bytes, "bin"), s.seconds) << s.file << " named .bin";
  }
}

// One past the moov box or the AVI hdrl list, found by its type code; 0 without one.
std::size_t headerEnd(const std::string& b, const char* type) {
  const std::size_t t = b.find(type);
  if (t == std::string::npos || t < 8) return 0;
  return std::string(type) == "hdrl" ? t + le32(at(b, t - 4)) : t - 4 + be32(at(b, t - 4));
}

TEST(MediaTruncationTest, EveryPrefixOfTheHeaderGivesNoDuration) {
  const std::tuple<const char*, const char*, const char*, std::int64_t> cases[] = {
      {"moov_first_3s.mp4", "mp4", "moov", 3},         {"moov_last_5s.mp4", "mp4", "moov", 5},
      {"quicktime_7s.mov", "mov", "moov", 7},          {"riff_5s.avi", "avi", "hdrl", 5},
      {"fragmented_mehd_v1_4s.mp4", "mp4", "moov", 4},
  };
  for (const auto& [file, extension, header, seconds] : cases) {
    const std::string bytes = readSample(file);
    const std::size_t end = headerEnd(bytes, header);
    ASSERT_GT(end, 0u) << file;
    for (std::size_t length = 0; length < end; ++length)
      ASSERT_EQ(durationOf(bytes.substr(0, length), extension), std::nullopt)
          << file << " cut at " << length;
    for (std::size_t length = end; length <= bytes.size(); length += 61)
      ASSERT_EQ(durationOf(bytes.substr(0, length), extension), seconds)
          << file << " cut at " << length;
  }
}

std::string box(const char* type, const std::string& payload) {
  std::string b(8, '\0');
  putBe32(b, 0, std::uint32_t(8 + payload.size()));
  b.replace(4, 4, type);
  return b + payload;
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

// A movie extends header (version 0 or 1) with the given duration.
std::string mehd(int version, std::uint32_t duration) {
  std::string p(version == 1 ? 12 : 8, '\0');
  p[0] = char(version);
  putBe32(p, p.size() - 4, duration);
  return box("mehd", p);
}

const std::string kFtyp = box("ftyp", std::string("isom\0\0\0\0isom", 12));

TEST(Mp4RewriteTest, SizeFormsVersionsAndHostileValues) {
  const std::string moov = box("moov", mvhd(0, 600, 4500));  // 7.5 s
  const std::string largeMdat("\0\0\0\1mdat\0\0\0\0\0\0\0\024data", 20);
  const std::string hugeLarge("\0\0\0\1mdat\377\377\377\377\0\0\0\024data", 20);
  const auto movie = [](const std::string& inside) { return kFtyp + box("moov", inside); };
  const std::string toEnd = std::string(4, '\0') + moov.substr(4);
  const std::string trex = box("trex", std::string(24, '\0'));
  const std::tuple<const char*, std::string, Seconds> cases[] = {
      {"moov after a 64-bit mdat", kFtyp + largeMdat + moov, 8},
      {"moov with size 0 (to the end)", kFtyp + box("free", "") + toEnd, 8},
      {"mvhd version 1", movie(mvhd(1, 90000, 90000ull * 3600 * 15)), 54000},
      {"mvhd duration rounds half up", movie(mvhd(0, 1000, 2500)), 3},
      {"31 days", movie(mvhd(0, 1, 2678400)), 2678400},
      {"31 days and a second", movie(mvhd(0, 1, 2678401)), std::nullopt},
      {"64-bit size past the end", kFtyp + hugeLarge + moov, std::nullopt},
      {"box size 4", kFtyp + std::string("\0\0\0\4free", 8) + moov, std::nullopt},
      {"time scale 0", movie(mvhd(0, 0, 4500)), std::nullopt},
      {"duration unknown", movie(mvhd(0, 90000, 0xffffffff)), std::nullopt},
      {"mvhd cut short", movie(box("mvhd", std::string(12, '\0'))), std::nullopt},
      {"mehd v0 in mvex", movie(mvhd(0, 1000, 0) + box("mvex", trex + mehd(0, 9000))), 9},
      {"mehd v1 in mvex", movie(mvhd(0, 1000, 1000) + box("mvex", mehd(1, 12000))), 12},
      {"mvex without mehd", movie(mvhd(0, 1000, 1000) + box("mvex", trex)), std::nullopt},
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
      {"avih size past hdrl", avih + 4, 0x10000, std::nullopt},
      {"years of frames", avih + 24, 0xffffffff, std::nullopt},
  };
  for (const auto& [what, offset, value, seconds] : cases) {
    std::string bytes = original;
    if (what[0] == 'L') bytes.replace(odml - 8, 4, "LIST");
    putLe32(bytes, offset, value);
    EXPECT_EQ(durationOf(bytes, "avi"), seconds) << what;
  }
}

// Calls `edit(packet)` for each 188-byte packet (after the 4-byte lead in 192-byte
// packets) of a stream that starts in sync.
void forEachPacket(std::string& b, std::size_t packetSize,
                   const std::function<void(std::uint8_t*)>& edit) {
  for (std::size_t offset = packetSize - 188; offset + 188 <= b.size(); offset += packetSize)
    edit(reinterpret_cast<std::uint8_t*>(&b[offset]));
}

bool hasPcr(const std::uint8_t* p) { return (p[3] & 0x20) && p[4] >= 7 && (p[5] & 0x10); }

std::uint64_t pcrOf(const std::uint8_t* p) {
  const std::uint64_t base = std::uint64_t(p[6]) << 25 | std::uint64_t(p[7]) << 17 |
                             std::uint64_t(p[8]) << 9 | std::uint64_t(p[9]) << 1 | (p[10] >> 7);
  return base * 300 + ((std::uint64_t(p[10] & 1) << 8) | p[11]);
}

void setPcr(std::uint8_t* p, std::uint64_t pcr) {
  const std::uint64_t base = pcr / 300, ext = pcr % 300;
  for (int i = 0; i < 4; ++i) p[6 + i] = std::uint8_t(base >> (25 - 8 * i));
  p[10] = std::uint8_t(((base & 1) << 7) | 0x7e | (ext >> 8));
  p[11] = std::uint8_t(ext);
}

TEST(TsRewriteTest, ClockWrapInTheMiddleIsBridged) {
  std::string bytes = readSample("transport_7s.ts");
  std::optional<std::uint64_t> first;
  forEachPacket(bytes, 188, [&](std::uint8_t* p) {
    if (!hasPcr(p)) return;
    if (!first) first = pcrOf(p);
    // Move the clock so that it wraps 3 seconds after the first PCR.
    const std::uint64_t wrap = (std::uint64_t(1) << 33) * 300;
    setPcr(p, (pcrOf(p) - *first + wrap - 3 * 27000000ull) % wrap);
  });
  ASSERT_TRUE(first);
  EXPECT_EQ(durationOf(bytes, "ts"), 7);
}

TEST(TsRewriteTest, LongStreamsAreReadOnlyAtBothEnds) {
  // 40 MiB of null packets; the first and the last carry a PCR, ten minutes apart.
  const std::string nullPacket = std::string("\x47\x1f\xff\x10", 4) + std::string(184, '\xff');
  std::string bytes;
  for (std::size_t i = 0; i < 40 * 1024 * 1024 / 188; ++i) bytes += nullPacket;
  for (std::size_t offset : {std::size_t(0), bytes.size() - 188}) {
    bytes.replace(offset + 1, 5, "\x01\x00\x20\x07\x10", 5);  // PID 256, PCR flag
    setPcr(reinterpret_cast<std::uint8_t*>(&bytes[offset]),
           1000 + (offset ? 27000000ull * 600 : 0));
  }
  const Probe p = probe(bytes, "ts");
  EXPECT_EQ(p.answer.seconds, 600);
  EXPECT_EQ(p.reads, 3);
}

}  // namespace
}  // namespace media
