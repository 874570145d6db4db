// Tests of the media parsers on samples rewritten in place: box and chunk size forms,
// header versions, hostile sizes and counts, transport streams without PCR or with a
// clock wrap.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "archive/media_duration.h"
#include "archive/media_test_util.h"

namespace archive::media {
namespace {

using namespace testutil;

std::optional<std::int64_t> durationOf(const std::string& bytes, const char* extension) {
  BufferReader reader(bytes);
  return mediaDuration(reader, extension);
}

std::string box(const char* type, const std::string& payload) {
  std::string b(8, '\0');
  putBe32(b, 0, std::uint32_t(8 + payload.size()));
  b.replace(4, 4, type);
  return b + payload;
}

// A movie header of `version` with the given time scale and duration.
std::string mvhd(int version, std::uint32_t timescale, std::uint64_t duration) {
  std::string p(version == 1 ? 32 : 20, '\0');
  p[0] = char(version);
  if (version == 1) {
    putBe32(p, 20, timescale);
    putBe32(p, 24, std::uint32_t(duration >> 32));
    putBe32(p, 28, std::uint32_t(duration));
  } else {
    putBe32(p, 12, timescale);
    putBe32(p, 16, std::uint32_t(duration));
  }
  return box("mvhd", p + std::string(80, '\0'));
}

const std::string kFtyp = box("ftyp", "isom\0\0\0\0isom");

TEST(Mp4RewriteTest, SizeFormsAndVersions) {
  struct Case {
    const char* what;
    std::string bytes;
    std::optional<std::int64_t> seconds;
  };
  const std::string moov = box("moov", mvhd(0, 600, 4500));  // 7.5 s
  std::string largeMdat = std::string("\0\0\0\1mdat", 8) + std::string(8, '\0') + "data";
  putBe32(largeMdat, 12, 20);
  std::string toEnd = moov;
  putBe32(toEnd, 0, 0);
  std::string hugeLarge = largeMdat;
  putBe32(hugeLarge, 8, 0xffffffff);  // far past the end
  const Case cases[] = {
      {"moov after a 64-bit mdat", kFtyp + largeMdat + moov, 8},
      {"moov with size 0 (to the end)", kFtyp + box("free", "") + toEnd, 8},
      {"mvhd version 1", kFtyp + box("moov", mvhd(1, 90000, 90000ull * 3600 * 5)), 18000},
      {"mvhd duration rounds down", kFtyp + box("moov", mvhd(0, 1000, 2499)), 2},
      {"64-bit size past the end", kFtyp + hugeLarge + moov, std::nullopt},
      {"64-bit size below its header", kFtyp + std::string("\0\0\0\1mdat\0\0\0\0\0\0\0\x0f", 16) + moov,
       std::nullopt},
      {"box size 4", kFtyp + std::string("\0\0\0\4free", 8) + moov, std::nullopt},
      {"time scale 0", kFtyp + box("moov", mvhd(0, 0, 4500)), std::nullopt},
      {"duration 0", kFtyp + box("moov", mvhd(0, 1000, 0)), std::nullopt},
      {"duration unknown", kFtyp + box("moov", mvhd(0, 1000, 0xffffffff)), std::nullopt},
      {"mvhd version 2", kFtyp + [] { std::string m = mvhd(0, 1000, 5000); m[8] = 2; return box("moov", m); }(),
       std::nullopt},
      {"mvhd cut short", kFtyp + box("moov", box("mvhd", std::string(12, '\0'))), std::nullopt},
      {"no moov", kFtyp + box("mdat", "xxxx"), std::nullopt},
      {"mehd without mvex parent ignored", kFtyp + box("moov", mvhd(0, 1000, 3000) + box("mehd", std::string(8, '\0'))), 3},
  };
  for (const Case& c : cases) EXPECT_EQ(durationOf(c.bytes, "mp4"), c.seconds) << c.what;
}

TEST(Mp4RewriteTest, FragmentedFilesTakeTheExtendsHeader) {
  std::string mehd0(8, '\0'), mehd1(12, '\0');
  putBe32(mehd0, 4, 9000);  // 9 s at 1000 Hz
  mehd1[0] = 1;
  putBe32(mehd1, 8, 12000);
  const std::string trex = box("trex", std::string(24, '\0'));
  EXPECT_EQ(durationOf(kFtyp + box("moov", mvhd(0, 1000, 0) + box("mvex", trex + box("mehd", mehd0))), "mp4"), 9);
  EXPECT_EQ(durationOf(kFtyp + box("moov", mvhd(0, 1000, 1000) + box("mvex", box("mehd", mehd1))), "mp4"), 12);
  EXPECT_EQ(durationOf(kFtyp + box("moov", mvhd(0, 1000, 1000) + box("mvex", trex)), "mp4"), std::nullopt);
  EXPECT_EQ(durationOf(kFtyp + box("moov", mvhd(0, 1000, 0) + box("mvex", box("mehd", std::string(8, '\0')))), "mp4"),
            std::nullopt);
}

TEST(Mp4RewriteTest, ManyBoxesBeforeMoovStopTheSearchAfterFewReads) {
  std::string bytes = kFtyp;
  for (int i = 0; i < 100000; ++i) bytes += box("free", "");
  bytes += box("moov", mvhd(0, 1000, 5000));
  CountingReader reader(bytes);
  EXPECT_EQ(mediaDuration(reader, "mp4"), std::nullopt);
  EXPECT_LE(reader.reads, 20);
}

TEST(AviRewriteTest, OpenDmlFrameCountWinsWhenSet) {
  // ffmpeg reserves the OpenDML list as JUNK and turns it into LIST odml once a file
  // outgrows 1 GiB; do the same by hand.
  std::string bytes = readSample("riff_5s.avi");
  const std::size_t odml = bytes.find("odml");
  ASSERT_NE(odml, std::string::npos);
  ASSERT_EQ(bytes.compare(odml - 8, 4, "JUNK"), 0);
  EXPECT_EQ(durationOf(bytes, "avi"), 5);  // JUNK is not a header
  bytes.replace(odml - 8, 4, "LIST");
  ASSERT_EQ(bytes.compare(odml + 4, 4, "dmlh"), 0);
  EXPECT_EQ(durationOf(bytes, "avi"), 5);  // a zero count is no count
  putLe32(bytes, odml + 12, 50);           // 50 frames of 200 ms
  EXPECT_EQ(durationOf(bytes, "avi"), 10);
}

TEST(AviRewriteTest, DamagedHeadersGiveNoDuration) {
  const std::string original = readSample("riff_5s.avi");
  const std::size_t avih = original.find("avih");
  const std::size_t hdrl = original.find("hdrl");
  struct Case {
    const char* what;
    std::size_t at;
    std::uint32_t value;
  };
  const Case cases[] = {
      {"0 microseconds per frame", avih + 8, 0},
      {"0 frames", avih + 24, 0},
      {"absurd length", avih + 8, 0xffffffff},
      {"hdrl size past the end", hdrl - 4, 0x7fffffff},
      {"avih size past hdrl", avih + 4, 0x10000},
  };
  for (const Case& c : cases) {
    std::string bytes = original;
    putLe32(bytes, c.at, c.value);
    if (c.value == 0xffffffff) putLe32(bytes, avih + 24, 0xffffffff);
    EXPECT_EQ(durationOf(bytes, "avi"), std::nullopt) << c.what;
  }
}

TEST(TsRewriteTest, PresentationStampsStandInForMissingPcr) {
  for (const auto& [file, packet, seconds] :
       {std::tuple<const char*, std::size_t, std::int64_t>{"transport_7s.ts", 188, 7},
        {"bluray_4s.m2ts", 192, 4}}) {
    std::string bytes = readSample(file);
    int cleared = 0;
    forEachPacket(bytes, packet, [&](std::uint8_t* p) {
      if (hasPcr(p)) p[5] &= ~0x10, ++cleared;
    });
    ASSERT_GT(cleared, 0) << file;
    EXPECT_EQ(durationOf(bytes, "ts"), seconds) << file;
  }
}

TEST(TsRewriteTest, ClockWrapInTheMiddleIsBridged) {
  std::string bytes = readSample("transport_7s.ts");
  std::uint64_t first = 0;
  bool seen = false;
  forEachPacket(bytes, 188, [&](std::uint8_t* p) {
    if (!hasPcr(p)) return;
    if (!seen) first = pcrOf(p), seen = true;
    // Move the clock so that it wraps 3 seconds after the first PCR.
    const std::uint64_t wrap = (std::uint64_t(1) << 33) * 300;
    setPcr(p, (pcrOf(p) - first + wrap - 3 * 27000000ull) % wrap);
  });
  ASSERT_TRUE(seen);
  EXPECT_EQ(durationOf(bytes, "ts"), 7);
}

TEST(TsRewriteTest, LongStreamsAreReadOnlyAtBothEnds) {
  // 40 MiB of null packets with a PCR only in the first and in the last packet.
  std::string bytes;
  const std::size_t packets = 40 * 1024 * 1024 / 188;
  bytes.reserve(packets * 188);
  std::string nullPacket(188, '\xff');
  nullPacket[0] = 0x47, nullPacket[1] = 0x1f, nullPacket[2] = char(0xff), nullPacket[3] = 0x10;
  std::string pcrPacket = nullPacket;
  pcrPacket[1] = 0x01, pcrPacket[2] = 0x00, pcrPacket[3] = 0x20, pcrPacket[4] = 7, pcrPacket[5] = 0x10;
  for (std::size_t i = 0; i < packets; ++i)
    bytes += (i == 0 || i + 1 == packets) ? pcrPacket : nullPacket;
  auto* head = reinterpret_cast<std::uint8_t*>(&bytes[0]);
  auto* tail = reinterpret_cast<std::uint8_t*>(&bytes[(packets - 1) * 188]);
  setPcr(head, 1000);
  setPcr(tail, 1000 + 27000000ull * 600);  // ten minutes
  CountingReader reader(bytes);
  EXPECT_EQ(mediaDuration(reader, "ts"), 600);
  EXPECT_LE(reader.reads, kMaxReads);
  EXPECT_LE(reader.total, kMaxTotalBytes);

  // Without the last PCR nothing is found in the tail window: no duration, same bounds.
  setPcr(tail, 0);
  tail[5] = 0;
  CountingReader again(bytes);
  EXPECT_EQ(mediaDuration(again, "ts"), std::nullopt);
  EXPECT_LE(again.total, kMaxTotalBytes);
}

}  // namespace
}  // namespace archive::media
