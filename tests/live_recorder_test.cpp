// The real binary lists and counts archives while a recorder works in them. Whatever the
// interleaving, every run succeeds silently, lists no file twice, lists every file left
// alone throughout, and nothing the recorder never made.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "test_support.h"

namespace {

using namespace testing_support;

// The recorder: steps on a pool of six names in c1 or c2 (each named after its folder, so
// that no two recorders list the same name), three media files (so listings read
// headers) and three without a start token, written, flagged, unflagged, deleted,
// trashed, purged, while the file "run" exists; then its status goes to "status".
const char kRecorder[] = R"(set -e
media=$1 root=$2 markers=(recording downloaded locked afu)
trap 'echo $? > "$root/status"' EXIT
while [ -e "$root/run" ]; do
  c=$((RANDOM % 2 + 1)) i=$((RANDOM % 6))
  d=$root/c$c n=p$c-cam$i.mp4
  [ $i -lt 3 ] && n=p${c}_20240301T15${i}000Z.mp4
  m=$d/.${markers[RANDOM % 4]}
  case $((RANDOM % 6)) in
    0) if [ $i -lt 3 ]; then cp "$media" "$d/$n"; else head -c 1000 /dev/zero > "$d/$n"; fi ;;
    1) mkdir -p "$m" && : > "$m/$n" ;;
    2) rm -f "$m/$n" ;;
    3) rm -f "$d/$n" ;;
    4) mkdir -p "$d/.trash" && { mv "$d/$n" "$d/.trash/" 2>/dev/null || :; } ;;
    5) rm -f "$d/.trash/$n" ;;
  esac
done
)";

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
  writeFile(tmp / "recorder.sh", kRecorder);
  writeFile(tmp / "run", "");
  ASSERT_EQ(std::system(("bash " + tmp / "recorder.sh " + EXAMPLE_ARCHIVE +
                         "/1/front_20261118T070000Z.mp4 " + tmp.path() + " &")
                            .c_str()),
            0);

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
  std::remove((tmp / "run").c_str());
  for (int waited = 0; waited < 1000 && access((tmp / "status").c_str(), F_OK) != 0; ++waited)
    usleep(10000);
  EXPECT_EQ(readFile(tmp / "status"), "0\n") << "the recorder failed";
}

}  // namespace
