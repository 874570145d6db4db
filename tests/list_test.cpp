// End-to-end tests of `archive list`: the real binary on archive trees built in temp folders.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "test_support.h"

namespace {

using testing_support::Env;
using testing_support::RunResult;
using testing_support::TempDir;
using testing_support::addRecording;
using testing_support::runArchive;
using testing_support::setMtime;

struct Outcome {
  std::string out;
  std::string err;
  int status;
};

std::string describe(const std::vector<std::string>& args) {
  std::string text = "archive";
  for (const std::string& a : args) text += " '" + a + "'";
  return text;
}

void expectRun(const std::vector<std::string>& args, const Env& env, const Outcome& want) {
  const RunResult got = runArchive(args, env);
  EXPECT_FALSE(got.timedOut) << describe(args);
  EXPECT_EQ(want.out, got.out) << describe(args);
  EXPECT_EQ(want.err, got.err) << describe(args);
  EXPECT_EQ(want.status, got.status) << describe(args);
}

const char kHelp[] =
    "list (ls): browse archive files\n"
    "usage  list [options] <channel ids>\n"
    "   or  list [options] *\n"
    "   or  list [options] --path <path> --name <prefix>\n"
    "  -h,--help\tShow this message\n"
    "  -f,--format\tColumns\n"
    "  -q,--quote\tQuote names\n"
    "  -e,--exts\tExtensions filter\n"
    "  -s,--start\tStarting index\n"
    "  -l,--limit\tOutput limit\n"
    "  -S,--sort\tSort order (time, rtime)\n"
    "  --afu\tBrowse AFU\n"
    "  --trash\tBrowse trash\n"
    "  -p,--path\tSingle channel path\n"
    "  -n,--name\tSingle channel name\n"
    "  --json\tOutput in JSON format\n"
    "  --st-range\tStart timestamp range\n";

// A device with recorders "1" (Front), "2" (Cabin), "3" (no archive) and "4" (an archive
// folder not created yet). Start times, in UTC on 2024-03-01:
//   1/  14:05:09 mp4 downloaded, 60 s   14:10:00 mp4 locked+queued "alarm-17", 3600 s
//       14:20:00 ts recording, 59 s     14:25:00 jpg    14:30:00 MP4, 10 s
//   1/.trash/  13:00:00 mp4 queued, 5 s    13:10:00 avi, 0 s
//   2/  14:00:00 mov, 30 s
class ListCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string a1 = tmp_ / "a1", a2 = tmp_ / "a2";
    add(a1, "front_20240301T140509Z.mp4", 100, 1709301909, 60, {"downloaded"});
    add(a1, "front_20240301T141000Z_alarm-17.mp4", 200, 1709302200, 3600, {"locked", "afu"});
    add(a1, "front_20240301T142000Z.ts", 300, 1709302800, 59, {"recording"});
    add(a1, "front_20240301T142500Z.jpg", 10, 1709303100, 0, {});
    add(a1, "front_20240301T143000Z.MP4", 20, 1709303400, 10, {});
    add(a1, "front_20240301T130000Z.mp4", 50, 1709298000, 5, {"afu"}, true);
    add(a1, "front_20240301T131000Z.avi", 60, 1709298600, 0, {}, true);
    add(a2, "cabin_20240301T140000Z.mov", 70, 1709301600, 30, {});
    testing_support::writeDeviceConfig(config_, {{"1", "Front", a1},
                                                 {"2", "Cabin", a2},
                                                 {"3", "Rear", ""},
                                                 {"4", "Spare", tmp_ / "a4"}});
  }

  void add(const std::string& dir, const std::string& name, std::size_t size, long start,
           long duration, const std::vector<std::string>& markers, bool inTrash = false) {
    addRecording(dir, name, size, markers, inTrash);
    setMtime(dir + (inTrash ? "/.trash/" : "/") + name, start + duration);
  }

  Env env(const std::string& zone = "UTC") const {
    return {{"DEVICE_CONFIG", config_}, {"TZ", zone}};
  }
  void expectList(std::vector<std::string> args, const std::string& out) const {
    args.insert(args.begin(), "ls");
    expectRun(args, env(), {out, "", 0});
  }

  TempDir tmp_;
  std::string config_ = tmp_ / "config.json";
};

TEST_F(ListCommandTest, DefaultFormatListsNewestFirstWithinTheDefaultExtensions) {
  expectList({"1"},
             "-----\t2024-03-01 14:30:00\t20\t10\tfront_20240301T143000Z\t"
             "front_20240301T143000Z.MP4\n"
             "R----\t2024-03-01 14:20:00\t300\t59\tfront_20240301T142000Z\t"
             "front_20240301T142000Z.ts\n"
             "--L-A\t2024-03-01 14:10:00\t200\t3600\tfront_20240301T141000Z_alarm-17\t"
             "front_20240301T141000Z_alarm-17.mp4\n"
             "-D---\t2024-03-01 14:05:09\t100\t60\tfront_20240301T140509Z\t"
             "front_20240301T140509Z.mp4\n");
}

TEST_F(ListCommandTest, EveryTextColumnAndItsQuoting) {
  const std::string path = tmp_ / "a1/front_20240301T141000Z_alarm-17.mp4";
  const std::string row = "--L-A\t--L--\t2024-03-01 14:10:00\t1709302200\t200\t3600\t1:00:00\t";
  expectList({"-f", "AaTtSDdNFfEeRr", "-s", "2", "-l", "1", "1"},
             row + "front_20240301T141000Z_alarm-17\tfront_20240301T141000Z_alarm-17.mp4\t" +
                 path + "\tmp4\talarm-17\tFront\t1\n");
  expectList({"-q", "-f", "AaTtSDdNFfEeRr", "-s", "2", "-l", "1", "1"},
             row + "\"front_20240301T141000Z_alarm-17\"\t"
                   "\"front_20240301T141000Z_alarm-17.mp4\"\t\"" +
                 path + "\"\t\"mp4\"\t\"alarm-17\"\t\"Front\"\t1\n");
  // The event id column stays, quoted, when a file has none.
  expectList({"--quote", "-f", "e", "-l", "1", "1"}, "\"\"\n");
}

TEST_F(ListCommandTest, DurationColumnAndOddFormats) {
  expectList({"-f", "d", "1"}, "0:10\n0:59\n1:00:00\n1:00\n");
  expectList({"-f", "", "1"}, "\n\n\n\n");
  expectList({"-f", "xy", "1"}, "\t\n\t\n\t\n\t\n");
}

TEST_F(ListCommandTest, StartTimesFollowTheLocalZone) {
  const struct {
    const char* zone;
    const char* text;
    const char* json;
  } cases[] = {
      {"UTC", "2024-03-01 14:05:09\n", "[{\"created\":\"2024-03-01T14:05:09+0000\"}]"},
      {"<-03>3", "2024-03-01 11:05:09\n", "[{\"created\":\"2024-03-01T11:05:09-0300\"}]"},
      {"America/New_York", "2024-03-01 09:05:09\n",
       "[{\"created\":\"2024-03-01T09:05:09-0500\"}]"},
  };
  for (const auto& c : cases) {
    const std::vector<std::string> args{"ls", "-f", "T", "-s", "3", "1"};
    expectRun(args, env(c.zone), {c.text, "", 0});
    expectRun({"ls", "--json", "-f", "T", "-s", "3", "1"}, env(c.zone), {c.json, "", 0});
  }
}

TEST_F(ListCommandTest, SortOrdersAndStartTimeRange) {
  const std::string up = "1709301909\n1709302200\n1709302800\n1709303400\n";
  const std::string down = "1709303400\n1709302800\n1709302200\n1709301909\n";
  const struct {
    std::vector<std::string> options;
    std::string out;
  } cases[] = {
      {{}, down},
      {{"--sort", "t"}, up},
      {{"--sort", "time"}, up},
      {{"-S", "rt"}, down},
      {{"-S", "rtime"}, down},
      {{"--st-range", "0,0"}, down},
      {{"--st-range", "1709302200,1709302800"}, "1709302800\n1709302200\n"},
      {{"--st-range", "1709302800,0"}, "1709303400\n1709302800\n"},
      {{"--st-range", "1709302201,1709302799"}, ""},
      {{"--st-range", "1709302200,0", "-s", "1", "-l", "1"}, "1709302800\n"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = c.options;
    args.insert(args.end(), {"-f", "t", "1"});
    expectList(args, c.out);
  }
}

TEST_F(ListCommandTest, ExtensionFilterAppliesToEveryMode) {
  const struct {
    std::vector<std::string> options;
    std::string out;
  } cases[] = {
      {{"-e", "*"},
       "front_20240301T143000Z.MP4\nfront_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n"
       "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T140509Z.mp4\n"},
      {{"--exts", "all"},
       "front_20240301T143000Z.MP4\nfront_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n"
       "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T140509Z.mp4\n"},
      {{"--exts", "mp4"},
       "front_20240301T143000Z.MP4\nfront_20240301T141000Z_alarm-17.mp4\n"
       "front_20240301T140509Z.mp4\n"},
      {{"--exts", "jpg,TS"}, "front_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n"},
      {{"--exts", "mkv"}, ""},
      {{"--exts", "avi", "--trash"}, "front_20240301T131000Z.avi\n"},
      {{"--exts", "mp4", "--afu"},
       "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T130000Z.mp4\n"},
      {{"--exts", "ts", "--afu"}, ""},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = c.options;
    args.insert(args.end(), {"-f", "F", "1"});
    expectList(args, c.out);
  }
}

TEST_F(ListCommandTest, QueueAndTrashIncludeDeletedFiles) {
  expectList({"--afu", "-f", "AF", "1", "2"},
             "--L-A\tfront_20240301T141000Z_alarm-17.mp4\n---TA\tfront_20240301T130000Z.mp4\n");
  expectList({"--trash", "-f", "AF", "all"},
             "---T-\tfront_20240301T131000Z.avi\n---TA\tfront_20240301T130000Z.mp4\n");
  expectList({"--trash", "--json", "-f", "aF", "2"}, "[]");
}

TEST_F(ListCommandTest, RecorderSelection) {
  const std::string cabin = "2\tcabin_20240301T140000Z.mov\n";
  const struct {
    std::vector<std::string> ids;
    std::string out;
  } cases[] = {
      {{"2"}, cabin},
      {{"2", "2"}, cabin + cabin},
      {{"*"}, "1\tfront_20240301T140509Z.mp4\n" + cabin},
      {{"all"}, "1\tfront_20240301T140509Z.mp4\n" + cabin},
      {{"3"}, ""},  // a recorder without archive
      {{"4"}, ""},  // an archive folder not written yet
  };
  for (const auto& c : cases) {
    std::vector<std::string> args{"--st-range", "1,1709301909", "-f", "rF"};
    args.insert(args.end(), c.ids.begin(), c.ids.end());
    expectList(args, c.out);
  }
  expectRun({"ls", "--json", "4"}, env(), {"[]", "", 0});
}

TEST_F(ListCommandTest, SingleChannelNeedsNoConfiguration) {
  const std::string a1 = tmp_ / "a1";
  const Env noConfig{{"DEVICE_CONFIG", tmp_ / "absent.json"}, {"TZ", "UTC"}};
  expectRun({"ls", "-p", a1, "-n", "front_20240301T142", "-f", "rRF"}, noConfig,
            {"front_20240301T142\tfront_20240301T142\tfront_20240301T142500Z.jpg\n"
             "front_20240301T142\tfront_20240301T142\tfront_20240301T142000Z.ts\n",
             "", 0});
  expectRun({"ls", "--path", a1, "--name", "cabin"}, noConfig, {"", "", 0});
  expectRun({"ls", "--path", a1, "--name", "", "-f", "S"}, noConfig,
            {"20\n10\n300\n200\n100\n", "", 0});
}

TEST_F(ListCommandTest, OnePagingRunsAcrossSeveralRecorders) {
  // Recorder k's file j starts at minute 3j + k, so the merged order interleaves them.
  std::vector<testing_support::Recorder> recorders;
  for (int k = 0; k < 3; ++k) {
    const std::string dir = tmp_ / ("r" + std::to_string(k));
    for (int j = 0; j < 10; ++j) {
      const int minute = 3 * j + k;
      char name[40];
      snprintf(name, sizeof name, "r%d_20240301T10%02d00Z.mp4", k, minute);
      add(dir, name, static_cast<std::size_t>(minute), 1709287200 + minute * 60, 1, {});
    }
    recorders.push_back({"r" + std::to_string(k), "", dir});
  }
  testing_support::writeDeviceConfig(config_, recorders);
  std::string ascending, descending;
  for (int i = 5; i < 15; ++i) ascending += std::to_string(i) + "\n";
  for (int i = 24; i > 14; --i) descending += std::to_string(i) + "\n";
  expectList({"--sort", "time", "--start", "5", "--limit", "10", "-f", "S", "r0", "r1", "r2"},
             ascending);
  expectList({"--start", "5", "--limit", "10", "-f", "S", "r2", "r0", "r1"}, descending);
  expectList({"--start", "30", "-f", "S", "all"}, "");
}

TEST_F(ListCommandTest, JsonMembersOfEveryLetter) {
  const std::string path = tmp_ / "a1/front_20240301T141000Z_alarm-17.mp4";
  const struct {
    const char* format;
    std::string out;
  } cases[] = {
      {"ATSDNF",
       "[{\"afu_queue\":true,\"created\":\"2024-03-01T14:10:00+0000\",\"deleted\":false,"
       "\"downloaded\":false,\"duration\":3600,\"filename\":\"front_20240301T141000Z_alarm-17"
       ".mp4\",\"locked\":true,\"name\":\"front_20240301T141000Z_alarm-17\","
       "\"recording\":false,\"size\":200}]"},
      {"aifEerRd",
       "[{\"downloaded\":false,\"event_id\":\"alarm-17\",\"extension\":\"mp4\",\"id\":"
       "\"front_20240301T141000Z_alarm-17.mp4\",\"locked\":true,\"path\":\"" +
           path + "\",\"recorder\":\"1\",\"recording\":false}]"},
      {"Tt", "[{\"created\":1709302200}]"},
      {"tT", "[{\"created\":\"2024-03-01T14:10:00+0000\"}]"},
      {"", "[{}]"},
  };
  for (const auto& c : cases) {
    expectList({"--json", "--quote", "-f", c.format, "-s", "2", "-l", "1", "1"}, c.out);
  }
  expectList({"--json", "-f", "S", "1", "2"}, "[{\"size\":20},{\"size\":300},{\"size\":200},"
                                              "{\"size\":100},{\"size\":70}]");
}

TEST_F(ListCommandTest, JsonOfAwkwardNamesParsesEverywhere) {
  const std::string dir = tmp_ / "odd";
  const std::vector<std::string> names{"with space.mp4", "tab\there.mp4",  "quote\"d.mp4",
                                       "new\nline.mp4",  "back\\slash.mp4", "ctl\x01.mp4",
                                       "bad\xff\xfe.mp4", "\xc3\xa9t\xc3\xa9.mp4"};
  for (const std::string& n : names) add(dir, n, 1, 1709301600, 0, {});
  const RunResult run =
      runArchive({"ls", "--json", "-f", "FNfi", "--path", dir, "--name", ""}, env());
  ASSERT_EQ(0, run.status) << run.err;
  nlohmann::json parsed;
  ASSERT_NO_THROW(parsed = nlohmann::json::parse(run.out)) << run.out;
  ASSERT_EQ(names.size(), parsed.size());
  std::vector<std::string> listed;
  for (const auto& file : parsed) listed.push_back(file.at("filename").get<std::string>());
  for (const std::string& n : names) {
    if (n.find('\xff') != std::string::npos) continue;  // written with U+FFFD instead
    EXPECT_NE(listed.end(), std::find(listed.begin(), listed.end(), n)) << n;
  }
  // Bytes that are not UTF-8 come back as replacement characters, never as an error.
  const bool replaced = std::any_of(listed.begin(), listed.end(), [](const std::string& n) {
    return n.rfind("bad\xef\xbf\xbd", 0) == 0 && n.size() > 4 &&
           n.compare(n.size() - 4, 4, ".mp4") == 0;
  });
  EXPECT_TRUE(replaced) << run.out;
  const std::vector<std::vector<std::string>> readers{
      {"jq", "-e", "length == 8"},
      {"python3", "-c", "import json,sys; assert len(json.load(sys.stdin)) == 8"}};
  for (const auto& reader : readers) {
    const RunResult read = testing_support::runProgram(reader, run.out);
    EXPECT_EQ(0, read.status) << reader[0] << ": " << read.err;
  }
}

TEST_F(ListCommandTest, HelpScreens) {
  const std::vector<std::vector<std::string>> calls{
      {"list", "-h"}, {"ls", "--help", "--afu", "--trash"}, {"LIST", "-h", "--bogus"},
      {"help", "LS"}, {"help", "list", "1"},                {"ls", "-h", "nope"}};
  for (const auto& args : calls) expectRun(args, env(), {kHelp, "", 1});
}

TEST_F(ListCommandTest, OptionErrorsEndWithStatusTwo) {
  std::vector<std::string> many(129, "1");
  std::vector<std::string> globbed(300, "front_20240301T140509Z.mp4");
  const struct {
    std::vector<std::string> args;
    std::string err;
  } cases[] = {
      {{}, "Missed required option: --path (-p)"},
      {{"--name", "cam"}, "Missed required option: --path (-p)"},
      {{"--path", "/x"}, "Missed required option: --name (-n)"},
      {{"1", "--path", "/x", "--name", "cam"},
       "Option --path (-p) is mutually exclusive with Recorders identifiers"},
      {{"--afu", "--trash", "1"}, "Option --afu is mutually exclusive with --trash"},
      {{"--limit", "ten", "1"}, "Invalid value 'ten' for --limit (-l)"},
      {{"-s", "08", "1"}, "Invalid value '08' for --start (-s)"},
      {{"1", "--limit"}, "Invalid value 'empty' for --limit (-l)"},
      {{"--sort", "Time", "1"}, "Invalid value 'Time' for --sort (-S)"},
      {{"--st-range", "5", "1"}, "Invalid value '5' for --st-range"},
      {{"-l", "1", "-l", "2", "-l", "3", "1"}, "Too many occurrences of --limit (-l)"},
      {{"1", "-"}, "Bad option:-"},
      {many, "Too many occurrences of Recorders identifiers"},
      {globbed, "Too many occurrences of Recorders identifiers"},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = c.args;
    args.insert(args.begin(), "ls");
    expectRun(args, env(), {"", c.err + "\n", 2});
  }
}

TEST_F(ListCommandTest, UnknownOptionsAreSkipped) {
  expectList({"--foo", "2", "--limit=0", "-f", "S", "-z"}, "70\n");
}

TEST_F(ListCommandTest, FailuresAfterParsingEndWithStatusOne) {
  expectRun({"ls", "1", "nope"}, env(), {"", "Recorder not found\n", 1});
  expectRun({"ls", "ALL"}, env(), {"", "Recorder not found\n", 1});

  testing_support::writeFile(config_, "{ \"media\": \n");
  const RunResult broken = runArchive({"ls", "1"}, env());
  EXPECT_EQ(1, broken.status);
  EXPECT_EQ("", broken.out);
  EXPECT_EQ(1, std::count(broken.err.begin(), broken.err.end(), '\n')) << broken.err;
  EXPECT_NE(std::string::npos, broken.err.find(config_)) << broken.err;
}

TEST_F(ListCommandTest, AnArchiveThatIsNotAFolderIsAnError) {
  const std::string dir = tmp_ / "file";
  testing_support::writeFile(dir, "not a folder");
  for (const char* json : {"", "--json"}) {
    std::vector<std::string> args{"ls", "--path", dir, "--name", "x"};
    if (*json) args.push_back(json);
    const RunResult run = runArchive(args, env());
    EXPECT_EQ(1, run.status) << describe(args);
    // The JSON array was opened before the folder was read, and stays open.
    EXPECT_EQ(*json ? "[" : "", run.out) << describe(args);
    EXPECT_EQ(1, std::count(run.err.begin(), run.err.end(), '\n')) << run.err;
    EXPECT_NE(std::string::npos, run.err.find(dir)) << run.err;
  }
}

}  // namespace
