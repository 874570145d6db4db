// The two ways a listing reads headers, batches through io_uring and one file after
// another (ARCHIVE_IO_URING=0), give the same bytes on a recorder with enough recordings
// for several batches, also with few descriptors to spare. (The example device is listed
// both ways through a failing file system, in faults_test.cpp.)
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

namespace fs = std::filesystem;
using testing_support::runArchive;

void expectSameBothWays(const std::string& config, const std::vector<std::string>& args,
                        const std::vector<std::string>& wrapper = {}) {
  const auto readAhead = runArchive(args, {{"DEVICE_CONFIG", config}}, wrapper);
  const auto oneByOne =
      runArchive(args, {{"DEVICE_CONFIG", config}, {"ARCHIVE_IO_URING", "0"}}, wrapper);
  SCOPED_TRACE(testing::PrintToString(args));
  EXPECT_EQ(readAhead.status, 0);
  EXPECT_EQ(readAhead.err, "");
  EXPECT_GT(readAhead.out.size(), 100u);
  EXPECT_EQ(readAhead.out, oneByOne.out);
}

const std::vector<std::vector<std::string>> kListings = {
    {"ls", "all"},
    {"ls", "--exts", "all", "-f", "FSDNT", "all"},
    {"ls", "--sort", "time", "--start", "7", "--limit", "150", "all"},
    {"ls", "--afu", "all"},
    {"ls", "--trash", "all"},
};

TEST(ReadPathsTest, ManyBatchesAndFewDescriptorsListTheSameBytes) {
  const fs::path example = fs::path(EXAMPLE_ARCHIVE).parent_path();
  // A recorder of 400 recordings copied round robin from the example's media, each kind
  // of header among them.
  testing_support::TempDir dir;
  std::vector<fs::path> media;
  for (const auto& entry : fs::recursive_directory_iterator(example / "archive"))
    if (entry.is_regular_file() && entry.file_size() > 0) media.push_back(entry.path());
  ASSERT_GE(media.size(), 10u);
  for (int i = 0; i < 400; ++i) {
    const fs::path& from = media[std::size_t(i) % media.size()];
    char name[64];
    std::snprintf(name, sizeof name, "cam_20261121T%02d%02d00Z", i / 60, i % 60);
    const std::string to = dir / ("archive/" + (i % 9 == 0 ? std::string(".trash/") : "") + name +
                                  from.extension().string());
    testing_support::writeFile(to, testing_support::readFile(from.string()));
    if (i % 7 == 0)
      testing_support::writeFile(
          dir / (std::string("archive/.afu/") + name + from.extension().string()), "");
  }
  testing_support::writeDeviceConfig(dir / "config.json", {{"1", "Many", dir / "archive"}});

  for (const auto& args : kListings) expectSameBothWays(dir / "config.json", args);
  // Past the marker table's first growth: 58 markers, 51 of them of files not in the trash.
  const std::string counts =
      runArchive({"stat", "all"}, {{"DEVICE_CONFIG", dir / "config.json"}}).out;
  EXPECT_EQ(counts.substr(counts.find('\n') + 1, 3), "51\t") << counts;
  // With few descriptors to spare, fewer files are in flight: none of them is read
  // differently for the lack of one. At the smallest limit that lists at all (5 for a
  // plain build: the standard three, the folder, one file; a sanitizer's runtime holds
  // a few more), the ring's own descriptor would take the file's.
  const auto fewer = [](int descriptors) {
    return std::vector<std::string>{"prlimit", "--nofile=" + std::to_string(descriptors)};
  };
  int smallest = 4;
  while (smallest < 32 &&
         runArchive(kListings[0],
                    {{"DEVICE_CONFIG", dir / "config.json"}, {"ARCHIVE_IO_URING", "0"}},
                    fewer(smallest))
                 .status != 0)
    ++smallest;
  ASSERT_LT(smallest, 32);
  for (int descriptors : {24, smallest})
    expectSameBothWays(dir / "config.json", kListings[0], fewer(descriptors));
}

}  // namespace
