// Tests of the media header parsers on real recordings (testdata/, made with ffmpeg)
// and on copies of them that are truncated, corrupted or rewritten in place.
#include "archive/media_duration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <string>

#include "archive/media_test_util.h"

namespace archive::media {
namespace {

using testutil::readSample;

// ffprobe's format duration of each sample, rounded (see testdata/README.md); nothing
// for fragmented files that carry no total in their headers.
struct Sample {
  const char* file;
  const char* extension;
  std::optional<std::int64_t> seconds;
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

std::optional<std::int64_t> durationOf(const std::string& bytes, const char* extension) {
  BufferReader reader(bytes);
  return mediaDuration(reader, extension);
}

TEST(MediaDurationTest, RealSamplesMatchFfprobe) {
  for (const Sample& s : kSamples)
    EXPECT_EQ(durationOf(readSample(s.file), s.extension), s.seconds) << s.file;
}

TEST(MediaDurationTest, ContentWinsOverAMisleadingExtension) {
  EXPECT_EQ(durationOf(readSample("riff_5s.avi"), "mp4"), 5);
  EXPECT_EQ(durationOf(readSample("moov_last_5s.mp4"), "ts"), 5);
  EXPECT_EQ(durationOf(readSample("transport_7s.ts"), "MOV"), 7);
}

TEST(MediaDurationTest, UnknownContentHasNoDuration) {
  EXPECT_EQ(durationOf("", "mp4"), std::nullopt);
  EXPECT_EQ(durationOf(std::string(5000, '\0'), "mp4"), std::nullopt);
  EXPECT_EQ(durationOf(std::string(5000, 'x'), "ts"), std::nullopt);
  EXPECT_EQ(durationOf("plain text, not a video", "txt"), std::nullopt);
}

TEST(MediaDurationTest, RoundsToTheNearestSecondHalvesUp) {
  EXPECT_EQ(roundedQuotient(2499, 1000), 2);
  EXPECT_EQ(roundedQuotient(2500, 1000), 3);
  EXPECT_EQ(roundedQuotient(0, 7), 0);
  EXPECT_EQ(roundedQuotient(~std::uint64_t(0), 1), INT64_MAX);
}

// The end of the header region each parser needs: prefixes shorter than this must give
// no duration, prefixes at least this long the full one.
struct Truncation {
  const char* file;
  const char* extension;
  std::size_t (*headerEnd)(const std::string&);
  std::int64_t seconds;
};

std::size_t moovEnd(const std::string& b) { return testutil::boxEnd(b, "moov"); }
std::size_t hdrlEnd(const std::string& b) { return testutil::riffListEnd(b, "hdrl"); }

TEST(MediaTruncationTest, EveryPrefixOfTheHeaderGivesNoDuration) {
  const Truncation cases[] = {
      {"moov_first_3s.mp4", "mp4", moovEnd, 3},
      {"moov_last_5s.mp4", "mp4", moovEnd, 5},
      {"quicktime_7s.mov", "mov", moovEnd, 7},
      {"riff_5s.avi", "avi", hdrlEnd, 5},
      {"fragmented_mehd_v1_4s.mp4", "mp4", moovEnd, 4},
  };
  for (const Truncation& c : cases) {
    const std::string bytes = readSample(c.file);
    const std::size_t end = c.headerEnd(bytes);
    ASSERT_GT(end, 0u) << c.file;
    for (std::size_t length = 0; length < end; ++length)
      ASSERT_EQ(durationOf(bytes.substr(0, length), c.extension), std::nullopt)
          << c.file << " cut at " << length;
    for (std::size_t length = end; length <= bytes.size(); length += 61)
      ASSERT_EQ(durationOf(bytes.substr(0, length), c.extension), c.seconds)
          << c.file << " cut at " << length;
  }
}

TEST(MediaTruncationTest, ATruncatedStreamIsNeverLongerThanTheWhole) {
  for (const char* file : {"transport_7s.ts", "bluray_4s.m2ts"}) {
    const std::string bytes = readSample(file);
    for (std::size_t length = 0; length <= bytes.size(); length += 37) {
      const auto seconds = durationOf(bytes.substr(0, length), "ts");
      if (seconds) {
        EXPECT_GE(*seconds, 0) << file << " cut at " << length;
        EXPECT_LE(*seconds, 7) << file << " cut at " << length;
      }
    }
  }
}

// Overwrites random bytes of every sample, thousands of times: each result must be no
// duration or a plausible one, and nothing may read out of bounds (ASan watches).
TEST(MediaCorruptionTest, RandomDamageNeverCrashesOrOverreads) {
  std::mt19937 random(20240301);
  for (const Sample& s : kSamples) {
    const std::string original = readSample(s.file);
    for (int round = 0; round < 1500; ++round) {
      std::string bytes = original;
      const int hits = 1 + int(random() % 8);
      for (int h = 0; h < hits; ++h) {
        // Most damage goes to the first KiB, where the headers are.
        const std::size_t limit = round % 2 ? bytes.size() : std::min<std::size_t>(1024, bytes.size());
        bytes[random() % limit] = char(random() % 4 == 0 ? 0xff : random() % 256);
      }
      testutil::CountingReader reader(bytes);
      std::optional<std::int64_t> seconds;
      ASSERT_NO_THROW(seconds = mediaDuration(reader, s.extension)) << s.file;
      if (seconds) {
        EXPECT_GE(*seconds, 0) << s.file;
        EXPECT_LE(*seconds, kMaxSeconds) << s.file;
      }
      EXPECT_LE(reader.reads, kMaxReads) << s.file;
    }
  }
}

}  // namespace
}  // namespace archive::media
