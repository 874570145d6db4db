// The real binary lists and counts archives while a recorder works in them. Whatever the
// interleaving, every run succeeds silently, lists no file twice, lists every file left
// alone throughout, and nothing the recorder never made.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "test_support.h"

extern char** environ;

namespace {

using namespace testing_support;

// One step of the recorder on a pool of six names in c1 or c2 (each named after its
// folder, so that no two recorders list the same name): three media files (so
// listings read headers) and three without a start token, written, flagged, unflagged,
// deleted, trashed, purged.
void work(const std::string& root, std::mt19937& rng) {
  static const std::string media =
      readFile(std::string(EXAMPLE_ARCHIVE) + "/1/front_20261118T070000Z.mp4");
  static const char* const markers[] = {"recording", "downloaded", "locked", "afu"};
  const unsigned i = rng() % 6;
  const std::string c = std::to_string(1 + rng() % 2), dir = root + "/c" + c + "/";
  const std::string name = "p" + c +
                           (i < 3 ? "_20240301T15" + std::to_string(i) + "000Z.mp4"
                                  : "-cam" + std::to_string(i) + ".mp4");
  const std::string marker = dir + "." + markers[rng() % 4] + "/" + name;
  const std::function<void()> steps[] = {
      [&] { writeFile(dir + name, i < 3 ? media : std::string(1000, 'x')); },
      [&] { writeFile(marker, ""); },
      [&] { ::unlink(marker.c_str()); },
      [&] { ::unlink((dir + name).c_str()); },
      [&] {
        makeDirs(dir + ".trash");
        std::rename((dir + name).c_str(), (dir + ".trash/" + name).c_str());
      },
      [&] { ::unlink((dir + ".trash/" + name).c_str()); }};
  steps[rng() % 6]();
}

// The recorder: this test program started again with ARCHIVE_TEST_RECORDER naming the
// folder to work in. It works until its standard input closes, then exits before main.
// A process of its own started with posix_spawn, neither a thread nor a fork(): under
// qemu-user (the arm64 tests) a process that runs a thread can hang starting the binary,
// and the forked copy of a dynamically linked program spins.
[[maybe_unused]] const bool startedAsRecorder = [] {
  const char* root = std::getenv("ARCHIVE_TEST_RECORDER");
  if (!root) return false;
  int status = 0;
  try {
    std::mt19937 rng(9);
    for (pollfd input{0, POLLIN, 0}; ::poll(&input, 1, 0) == 0; ::usleep(200)) work(root, rng);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "recorder: %s\n", e.what());
    status = 1;
  }
  std::_Exit(status);
}();

// Starts the recorder working in `root`; stopped and waited for on every way out, a
// failed assertion included.
class Recorder {
 public:
  explicit Recorder(const std::string& root) {
    std::vector<std::string> words{"env", "ARCHIVE_TEST_RECORDER=" + root};
    for (const char* word : {E2E_TESTS_COMMAND}) words.push_back(word);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(&word[0]);
    argv.push_back(nullptr);
    int input[2];
    if (::pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error(strerror(errno));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], 0);
    const int failed = posix_spawnp(&pid_, "env", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    if (failed) {
      ::close(input[1]);
      throw std::runtime_error(std::string("spawn the recorder: ") + strerror(failed));
    }
    stop_ = input[1];
  }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;
  ~Recorder() { stop(); }

  // Closes the recorder's input and returns its wait status: 0 when it never failed.
  int stop() {
    if (stop_ >= 0) {
      ::close(stop_), stop_ = -1;
      while (::waitpid(pid_, &status_, 0) < 0 && errno == EINTR) {
      }
    }
    return status_;
  }

 private:
  pid_t pid_ = -1;
  int stop_ = -1, status_ = -1;
};

TEST(LiveRecorderTest, ListingsAndCountsHoldWhileTheRecorderWorks) {
  TempDir tmp;
  // Left alone throughout: a recording in each folder, one in a trash and in the queue.
  for (const char* key : {"c1/s_20240301T120000Z.mp4", "c2/t_20240301T120000Z.mp4",
                          "c1/.trash/s-still.mp4", "c1/.afu/s-still.mp4"})
    writeFile(tmp / key, std::string(500, 'z'));
  writeDeviceConfig(
      tmp / "config.json",
      {{"1", "One", tmp / "c1"}, {"2", "Two", tmp / "c2"}, {"3", "Three", tmp / "c3"}});
  const Env env{{"DEVICE_CONFIG", tmp / "config.json"}};
  Recorder recorder(tmp.path());

  // Each listing, and the files left alone that it must show.
  const std::pair<const char*, std::set<std::string>> listings[] = {
      {"", {"-s_20240301T120000Z.mp4", "-t_20240301T120000Z.mp4"}},
      {"--trash", {"Ts-still.mp4"}},
      {"--afu", {"Ts-still.mp4"}}};
  for (int round = 0; round < 60; ++round) {
    for (const auto& [source, always] : listings) {
      std::vector<std::string> args{"ls", "-f", "AF", "all"};
      if (*source) args.push_back(source);
      const RunResult got = runArchive(args, env);
      ASSERT_EQ(0, got.status) << source << ": " << got.err;
      ASSERT_EQ("", got.err) << source;
      std::set<std::string> seen;
      std::istringstream lines(got.out);
      for (std::string line; std::getline(lines, line);) {
        EXPECT_NE(std::string("pst").find(line.at(6)), std::string::npos) << line;
        EXPECT_TRUE(seen.insert(line.substr(3, 1) + line.substr(6)).second) << "twice: " << line;
      }
      for (const std::string& key : always) EXPECT_EQ(seen.count(key), 1u) << source << got.out;
    }
    std::size_t files = 0;  // the two left alone, and up to six in each folder
    ASSERT_EQ(1, std::sscanf(runArchive({"stat", "all"}, env).out.c_str(), "%zu", &files));
    EXPECT_TRUE(files >= 2 && files <= 2 + 6 * 2) << files;
  }
  EXPECT_EQ(0, recorder.stop());
}

}  // namespace
