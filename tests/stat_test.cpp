// End-to-end tests of `archive stat`: the real binary over archive trees in a temp folder.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::addRecording;
using testing_support::Env;
using testing_support::Recorder;
using testing_support::RunResult;
using testing_support::runArchive;
using testing_support::TempDir;
using testing_support::writeDeviceConfig;
using testing_support::writeFile;

using Args = std::vector<std::string>;

const char kHelp[] =
    "stat (stat): archive(s) statistics\n"
    "usage  stat [options] <channel ids>\n"
    "   or  stat [options] *\n"
    "   or  stat [options] --path <path> --name <prefix>\n"
    "  -h,--help\tShow this message\n"
    "  -p,--path\tSingle channel path\n"
    "  -n,--name\tSingle channel name\n"
    "  --afu\tStatistics for AFU only\n"
    "  --trash\tStatistics for trash only\n"
    "  --json\tOutput in JSON format\n";

// The command word followed by `count` copies of `word`.
Args repeated(const std::string& command, std::size_t count, const std::string& word) {
  Args args(1, command);
  args.insert(args.end(), count, word);
  return args;
}

std::string join(const Args& args) {
  std::string text;
  for (const std::string& a : args) text += (text.empty() ? "" : " ") + a;
  return text;
}

// A command line and the totals it must print, with nothing on standard error.
struct Case {
  Args args;
  std::string out;
};

// Four recorders: 1 and 2 with archives, 3 without an archive folder, 4 whose AFU
// queue holds only a deleted recording; and one channel folder used with --path.
//   recorder 1: 100, 200 (queued), trash 400, trash 800 (queued)
//   recorder 2: 1000 (queued), 2000
//   recorder 4: trash 5000 (queued)
//   channel:    front 10, front 20 (queued), back 40, trash front 80
class StatTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string a1 = dir / "a1", a2 = dir / "a2", a4 = dir / "a4";
    addRecording(a1, "cam1_20240301T140000Z.mp4", 100);
    addRecording(a1, "cam1_20240301T140100Z.mp4", 200, {"afu"});
    addRecording(a1, "cam1_20240301T140200Z.mp4", 400, {}, true);
    addRecording(a1, "cam1_20240301T140300Z.mp4", 800, {"afu"}, true);
    addRecording(a2, "cam2_20240301T140000Z_alarm-3.avi", 1000, {"afu", "locked"});
    addRecording(a2, "cam2_20240301T140100Z.ts", 2000, {"downloaded"});
    addRecording(a4, "cam4_20240301T140000Z.mov", 5000, {"afu"}, true);
    writeDeviceConfig(config, {{"1", "Front", a1},
                               {"2", "Cabin", a2},
                               {"3", "Rear", ""},
                               {"4", "Roof", a4}});
    const std::string ch = dir / "channel";
    addRecording(ch, "front_20240301T140000Z.mp4", 10);
    addRecording(ch, "front_20240301T140100Z.mp4", 20, {"afu"});
    addRecording(ch, "back_20240301T140000Z.mp4", 40);
    addRecording(ch, "front_20240301T140200Z.mp4", 80, {}, true);
  }

  RunResult run(const Args& args) { return runArchive(args, {{"DEVICE_CONFIG", config}}); }

  void expectOutputs(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
      const RunResult r = run(c.args);
      EXPECT_EQ(r.out, c.out) << join(c.args);
      EXPECT_EQ(r.err, "") << join(c.args);
      EXPECT_EQ(r.status, 0) << join(c.args);
    }
  }

  TempDir dir;
  const std::string config = dir / "config.json";
};

TEST_F(StatTest, CountsFilesAndQueuedFilesOfRecorders) {
  expectOutputs({
      {{"stat", "1"}, "2\t300\n1\t200\n"},
      {{"stat", "2"}, "2\t3000\n1\t1000\n"},
      {{"stat", "1", "2"}, "4\t3300\n2\t1200\n"},
      {{"stat", "4"}, "0\t0\n0\t0\n"},
      {{"stat", "3"}, "0\t0\n0\t0\n"},
  });
}

TEST_F(StatTest, AfuCountsOnlyQueuedFilesThatAreNotDeleted) {
  expectOutputs({
      {{"stat", "--afu", "1"}, "1\t200\n"},
      {{"stat", "--afu", "4"}, "0\t0\n"},
      {{"stat", "--afu", "1", "2", "4"}, "2\t1200\n"},
      {{"stat", "--afu", "3"}, "0\t0\n"},
  });
}

TEST_F(StatTest, TrashCountsDeletedFilesWhetherQueuedOrNot) {
  expectOutputs({
      {{"stat", "--trash", "1"}, "2\t1200\n"},
      {{"stat", "--trash", "4"}, "1\t5000\n"},
      {{"stat", "1", "--trash", "4"}, "3\t6200\n"},
  });
}

TEST_F(StatTest, SameRecorderTwiceDoublesEveryTotal) {
  expectOutputs({
      {{"stat", "1", "1"}, "4\t600\n2\t400\n"},
      {{"stat", "--afu", "1", "1"}, "2\t400\n"},
      {{"stat", "--trash", "1", "1"}, "4\t2400\n"},
      {{"stat", "--json", "1", "1"},
       "{\"afu\":{\"count\":2,\"size\":400},\"files\":{\"count\":4,\"size\":600}}\n"},
  });
}

TEST_F(StatTest, StarAndAllCountEveryRecorderWithAnArchiveFolder) {
  expectOutputs({
      {{"stat", "all"}, "4\t3300\n2\t1200\n"},
      {{"stat", "*"}, "4\t3300\n2\t1200\n"},
      {{"stat", "--afu", "all"}, "2\t1200\n"},
      {{"stat", "--trash", "*"}, "3\t6200\n"},
  });
}

TEST_F(StatTest, AllWithoutAnyArchiveFolderPrintsZeros) {
  writeDeviceConfig(config, {{"1", "Front", ""}, {"3", "Rear", ""}});
  expectOutputs({
      {{"stat", "all"}, "0\t0\n0\t0\n"},
      {{"stat", "--json", "*"},
       "{\"afu\":{\"count\":0,\"size\":0},\"files\":{\"count\":0,\"size\":0}}\n"},
      {{"stat", "--trash", "all"}, "0\t0\n"},
  });
  writeDeviceConfig(config, {});
  expectOutputs({{{"stat", "all"}, "0\t0\n0\t0\n"}});
}

TEST_F(StatTest, JsonFormsAreCompactAndKeyOrdered) {
  expectOutputs({
      {{"stat", "--json", "1", "2"},
       "{\"afu\":{\"count\":2,\"size\":1200},\"files\":{\"count\":4,\"size\":3300}}\n"},
      {{"stat", "--json", "--afu", "1"}, "{\"count\":1,\"size\":200}\n"},
      {{"stat", "--trash", "--json", "1"}, "{\"count\":2,\"size\":1200}\n"},
      {{"stat", "--afu", "4", "--json"}, "{\"count\":0,\"size\":0}\n"},
      // A named option is refused only on its third occurrence.
      {{"stat", "--json", "--json", "4"},
       "{\"afu\":{\"count\":0,\"size\":0},\"files\":{\"count\":0,\"size\":0}}\n"},
  });
}

TEST_F(StatTest, SingleChannelSelectsByNamePrefix) {
  const std::string ch = dir / "channel";
  expectOutputs({
      {{"stat", "--path", ch, "--name", "front"}, "2\t30\n1\t20\n"},
      {{"stat", "-p", ch, "-n", "back"}, "1\t40\n0\t0\n"},
      {{"stat", "-p", ch, "-n", ""}, "3\t70\n1\t20\n"},
      {{"stat", "-p", ch, "-n", "front_20240301T1401"}, "1\t20\n1\t20\n"},
      {{"stat", "--trash", "-p", ch, "-n", "front"}, "1\t80\n"},
      {{"stat", "--afu", "--json", "-p", ch, "-n", "front"}, "{\"count\":1,\"size\":20}\n"},
      {{"stat", "-p", dir / "missing", "-n", "front"}, "0\t0\n0\t0\n"},
  });
}

TEST_F(StatTest, SingleChannelDoesNotReadTheConfiguration) {
  writeFile(config, "{ \"media\": ");
  expectOutputs({{{"stat", "-p", dir / "channel", "-n", "back"}, "1\t40\n0\t0\n"}});
}

TEST_F(StatTest, UnknownOptionsAreSkipped) {
  expectOutputs({
      {{"stat", "--bogus", "1"}, "2\t300\n1\t200\n"},
      {{"stat", "-xz", "--afu", "1"}, "1\t200\n"},
  });
}

TEST_F(StatTest, OneHundredTwentyEightIdentifiersAreAccepted) {
  expectOutputs({{repeated("stat", 128, "2"), "256\t384000\n128\t128000\n"}});
}

struct ErrorCase {
  Args args;
  std::string err;
};

TEST_F(StatTest, OptionErrorsGoToStandardErrorWithStatusTwo) {
  const std::vector<ErrorCase> cases = {
      {{"stat"}, "Missed required option: --path (-p)\n"},
      {{"stat", "--json"}, "Missed required option: --path (-p)\n"},
      {{"stat", "--afu", "--trash", "1"}, "Option --afu is mutually exclusive with --trash\n"},
      {{"stat", "--trash", "1", "--afu"}, "Option --afu is mutually exclusive with --trash\n"},
      {{"stat", "--path", "/x"}, "Missed required option: --name (-n)\n"},
      {{"stat", "--path", "/x", "--name", "cam", "1"},
       "Option --path (-p) is mutually exclusive with Recorders identifiers\n"},
      {{"stat", "--name", "cam"}, "Missed required option: --path (-p)\n"},
      {{"stat", "1", "--path"}, "Invalid value 'empty' for --path (-p)\n"},
      {{"stat", "1", "-n"}, "Invalid value 'empty' for --name (-n)\n"},
      {{"stat", "--json", "--json", "--json", "1"}, "Too many occurrences of --json\n"},
      {{"stat", "-p", "/x", "-n", "a", "-p", "/y", "-p", "/z"},
       "Too many occurrences of --path (-p)\n"},
      {{"stat", "-", "1"}, "Bad option:-\n"},
      {repeated("stat", 129, "1"), "Too many occurrences of Recorders identifiers\n"},
      {{"stat", "-h", "-h", "-h"}, "Too many occurrences of --help (-h)\n"},
      // The occurrence limit is enforced while the words are read, before help is seen.
      {{"stat", "-h", "--json", "--json", "--json"}, "Too many occurrences of --json\n"},
  };
  for (const ErrorCase& c : cases) {
    const RunResult r = runArchive(c.args, {{"DEVICE_CONFIG", config}}, 10);
    EXPECT_FALSE(r.timedOut) << join(c.args);
    EXPECT_EQ(r.err, c.err) << join(c.args);
    EXPECT_EQ(r.out, "") << join(c.args);
    EXPECT_EQ(r.status, 2) << join(c.args);
  }
}

TEST_F(StatTest, HelpWinsOverEveryOtherOptionAndOpensNoArchive) {
  // A broken configuration proves that help reads nothing.
  writeFile(config, "not json");
  const std::vector<Args> cases = {
      {"stat", "--help"},
      {"help", "stat"},
      {"help", "st", "--afu"},
      {"stat", "-h", "--afu", "--trash", "1"},
      {"stat", "-h", "--bogus"},
      {"stat", "1", "nosuch", "-h"},
      {"stat", "--path", "/x", "-h"},
  };
  for (const Args& args : cases) {
    const RunResult r = run(args);
    EXPECT_EQ(r.out, kHelp) << join(args);
    EXPECT_EQ(r.err, "") << join(args);
    EXPECT_EQ(r.status, 1) << join(args);
  }
}

TEST_F(StatTest, UnknownRecorderPrintsNoTotals) {
  const std::vector<Args> cases = {
      {"stat", "1", "nosuch"},
      {"stat", "--json", "nosuch", "1"},
      {"stat", "--afu", "ALL"},
      {"stat", "all", "1"},
  };
  for (const Args& args : cases) {
    const RunResult r = run(args);
    EXPECT_EQ(r.out, "") << join(args);
    EXPECT_EQ(r.err, "Recorder not found\n") << join(args);
    EXPECT_EQ(r.status, 1) << join(args);
  }
}

TEST_F(StatTest, BrokenConfigurationOrArchiveIsOneLineWithStatusOne) {
  const std::string notAFolder = dir / "not-a-folder";
  writeFile(notAFolder, "");
  const std::vector<std::string> contents = {
      "{ \"media\": ",
      "[1, 2]x",
      "{\"media\": {\"recorders\": [{\"id\": 1}]}}",
      "{\"media\": {\"recorders\": [{\"id\": \"1\", \"archiveDirectory\": \"" + notAFolder +
          "\"}]}}",
  };
  for (const std::string& content : contents) {
    writeFile(config, content);
    const RunResult r = run({"stat", "all"});
    EXPECT_EQ(r.out, "") << content;
    EXPECT_EQ(r.status, 1) << content;
    ASSERT_FALSE(r.err.empty()) << content;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
  }
}

}  // namespace
