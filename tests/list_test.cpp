// End-to-end tests of `archive list`: the real binary on the device of device_fixture.h.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "device_fixture.h"

namespace {

using testing_support::expectOneLineFailure;
using testing_support::expectRuns;
using testing_support::RunResult;

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

class ListCommandTest : public testing_support::DeviceTest {};

TEST_F(ListCommandTest, TextColumnsQuotingAndOddFormats) {
  const std::string alarm = "front_20240301T141000Z_alarm-17", mp4 = "front_20240301T143000Z";
  expectRuns(
      {{{"ls", "-s", "2", "1"},
        "--L-A\t2024-03-01 14:10:00\t200\t3600\t" + alarm + "\t" + alarm + ".mp4\n" +
            "-D---\t2024-03-01 14:05:09\t100\t0\tfront_20240301T140509Z\t"
            "front_20240301T140509Z.mp4\n",
        "", 0},
       // The short flags never show the trash and queue places.
       {{"ls", "-f", "AaTtSDdNFfEeRr", "-s", "2", "-l", "1", "1"},
        "--L-A\t--L--\t2024-03-01 14:10:00\t1709302200\t200\t3600\t1:00:00\t" + alarm + "\t" +
            alarm + ".mp4\t" + a1 + "/" + alarm + ".mp4\tmp4\talarm-17\tFront\t1\n",
        "", 0},
       // A missing event id stays, quoted.
       {{"ls", "-q", "-f", "AaTtSDdNFfEeRr", "-l", "1", "1"},
        "-----\t-----\t2024-03-01 14:30:00\t1709303400\t20\t3599\t59:59\t\"" + mp4 + "\"\t\"" +
            mp4 + ".MP4\"\t\"" + a1 + "/" + mp4 + ".MP4\"\t\"MP4\"\t\"\"\t\"Front\"\t1\n",
        "", 0},
       {{"ls", "-f", "d", "1"}, "59:59\n0:59\n1:00:00\n0:00\n", "", 0},
       {{"ls", "-f", "", "1"}, "\n\n\n\n", "", 0},
       {{"ls", "-f", "xy", "1"}, "\t\n\t\n\t\n\t\n", "", 0}},
      env());
}

TEST_F(ListCommandTest, StartTimesFollowTheLocalZone) {
  for (const char* zone : {"UTC", "<-03>3"}) {
    const bool utc = zone[0] == 'U';
    expectRuns({{{"ls", "-f", "T", "-s", "3", "1"},
                 utc ? "2024-03-01 14:05:09\n" : "2024-03-01 11:05:09\n", "", 0},
                {{"ls", "--json", "-f", "T", "-s", "3", "1"},
                 utc ? "[{\"created\":\"2024-03-01T14:05:09+0000\"}]"
                     : "[{\"created\":\"2024-03-01T11:05:09-0300\"}]",
                 "", 0}},
               env(zone));
  }
}

TEST_F(ListCommandTest, SortRangeExtensionsAndSources) {
  const std::string up = "1709301909\n1709302200\n1709302800\n1709303400\n";
  const std::string down = "1709303400\n1709302800\n1709302200\n1709301909\n";
  const std::string every =
      "front_20240301T143000Z.MP4\nfront_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n"
      "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T140509Z.mp4\n";
  expectRuns(
      {{{"ls", "-f", "t", "1"}, down, "", 0},
       {{"ls", "--sort", "time", "-f", "t", "1"}, up, "", 0},
       {{"ls", "-S", "rtime", "-f", "t", "1"}, down, "", 0},
       // Both bounds are inclusive, an upper bound of 0 is none, paging follows the range.
       {{"ls", "--st-range", "1709302200,1709302800", "-f", "t", "1"},
        "1709302800\n1709302200\n", "", 0},
       {{"ls", "--st-range", "1709302800,0", "-f", "t", "1"}, "1709303400\n1709302800\n", "", 0},
       {{"ls", "--st-range", "1709302200,0", "-s", "1", "-l", "1", "-f", "t", "1"},
        "1709302800\n", "", 0},
       {{"ls", "-e", "*", "-f", "F", "1"}, every, "", 0},
       {{"ls", "--exts", "all", "-f", "F", "1"}, every, "", 0},
       {{"ls", "--exts", "mp4", "-f", "F", "1"},
        "front_20240301T143000Z.MP4\nfront_20240301T141000Z_alarm-17.mp4\n"
        "front_20240301T140509Z.mp4\n",
        "", 0},
       {{"ls", "--exts", "jpg,TS", "-f", "F", "1"},
        "front_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n", "", 0},
       {{"ls", "--exts", "mp4", "--afu", "-f", "F", "1", "2"},
        "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T130000Z.mp4\n", "", 0},
       // Queues and trashes show their deleted files.
       {{"ls", "--afu", "-f", "AF", "1", "2"},
        "--L-A\tfront_20240301T141000Z_alarm-17.mp4\n----A\tcabin_20240301T140000Z.mov\n"
        "---TA\tfront_20240301T130000Z.mp4\n",
        "", 0},
       {{"ls", "--trash", "-f", "AF", "all"},
        "---T-\tfront_20240301T131000Z.avi\n---TA\tfront_20240301T130000Z.mp4\n"
        "---TA\troof_20240301T120000Z.mp4\n",
        "", 0},
       {{"ls", "--json", "4"}, "[]", "", 0},
       {{"ls", "--foo", "2", "--limit=0", "-f", "S", "-z"}, "70\n", "", 0}},
      env());
  // A single channel is chosen by a name prefix, without any configuration.
  expectRuns({{{"ls", "-p", a1, "-n", "front_20240301T142", "-f", "rRF"},
               "front_20240301T142\tfront_20240301T142\tfront_20240301T142500Z.jpg\n"
               "front_20240301T142\tfront_20240301T142\tfront_20240301T142000Z.ts\n",
               "", 0}},
             {{"DEVICE_CONFIG", tmp / "absent.json"}});
}

TEST_F(ListCommandTest, OnePagingRunsAcrossSeveralRecordersAndTiesGoByName) {
  // Recorder k's file j starts at minute j, so every minute is a tie of three files
  // whose order by name is k; file j of recorder k has 3j + k bytes.
  std::vector<testing_support::Recorder> recorders;
  for (int k = 0; k < 3; ++k) {
    const std::string dir = tmp / ("r" + std::to_string(k));
    for (int j = 0; j < 10; ++j) {
      char name[40];
      snprintf(name, sizeof name, "r%d_20240301T10%02d00Z.mp4", k, j);
      add(dir, name, static_cast<std::size_t>(3 * j + k), 1709287200 + j * 60, 1, {});
    }
    recorders.push_back({"r" + std::to_string(k), "", dir});
  }
  testing_support::writeDeviceConfig(config, recorders);
  std::string ascending, descending;
  for (int i = 5; i < 15; ++i) ascending += std::to_string(i) + "\n";
  for (int i = 24; i > 14; --i) descending += std::to_string(i) + "\n";
  expectRuns(
      {{{"ls", "-S", "time", "-s", "5", "-l", "10", "-f", "S", "r0", "r1", "r2"}, ascending, "",
        0},
       {{"ls", "--start", "5", "--limit", "10", "-f", "S", "r2", "r0", "r1"}, descending, "", 0},
       {{"ls", "--start", "30", "-f", "S", "all"}, "", "", 0}},
      env());
}

TEST_F(ListCommandTest, JsonMembersOfEveryLetter) {
  const std::string alarm = "front_20240301T141000Z_alarm-17";
  const std::vector<std::pair<std::string, std::string>> cases{
      {"ATSDNF",
       "[{\"afu_queue\":true,\"created\":\"2024-03-01T14:10:00+0000\",\"deleted\":false,"
       "\"downloaded\":false,\"duration\":3600,\"filename\":\"" + alarm + ".mp4\","
       "\"locked\":true,\"name\":\"" + alarm + "\",\"recording\":false,\"size\":200}]"},
      // R and d have no member.
      {"aifEerRd",
       "[{\"downloaded\":false,\"event_id\":\"alarm-17\",\"extension\":\"mp4\",\"id\":\"" +
           alarm + ".mp4\",\"locked\":true,\"path\":\"" + a1 + "/" + alarm +
           ".mp4\",\"recorder\":\"1\",\"recording\":false}]"},
      {"Tt", "[{\"created\":1709302200}]"},
      {"tT", "[{\"created\":\"2024-03-01T14:10:00+0000\"}]"},
      {"", "[{}]"}};
  for (const auto& c : cases) {
    expectRuns({{{"ls", "--json", "-q", "-f", c.first, "-s", "2", "-l", "1", "1"}, c.second, "", 0}},
               env());
  }
  expectRuns({{{"ls", "--json", "-f", "S", "1", "2"},
               "[{\"size\":20},{\"size\":300},{\"size\":200},{\"size\":100},{\"size\":70}]", "",
               0}},
             env());
}

TEST_F(ListCommandTest, JsonOfAwkwardNamesParsesEverywhere) {
  const std::string dir = tmp / "odd";
  const std::vector<std::string> names{"with space.mp4", "tab\there.mp4",  "quote\"d.mp4",
                                       "new\nline.mp4",  "back\\slash.mp4", "ctl\x01.mp4",
                                       "bad\xff\xfe.mp4", "\xc3\xa9t\xc3\xa9.mp4"};
  for (const std::string& n : names) add(dir, n, 1, 1709301600, 0, {});
  const RunResult run = testing_support::runArchive(
      {"ls", "--json", "-f", "FNfi", "--path", dir, "--name", ""}, env());
  ASSERT_EQ(0, run.status) << run.err;
  nlohmann::json parsed;
  ASSERT_NO_THROW(parsed = nlohmann::json::parse(run.out)) << run.out;
  std::vector<std::string> listed;
  for (const auto& file : parsed) listed.push_back(file.at("filename").get<std::string>());
  std::sort(listed.begin(), listed.end());
  // Bytes that are not UTF-8 come back as replacement characters, never as an error.
  std::vector<std::string> want = names;
  want[6] = "bad\xef\xbf\xbd\xef\xbf\xbd.mp4";
  std::sort(want.begin(), want.end());
  EXPECT_EQ(want, listed) << run.out;
  for (const std::vector<std::string>& reader :
       {std::vector<std::string>{"jq", "-e", "length == 8"},
        std::vector<std::string>{"python3", "-c",
                                 "import json,sys; assert len(json.load(sys.stdin)) == 8"}}) {
    const RunResult read = testing_support::runProgram(reader, run.out);
    EXPECT_EQ(0, read.status) << reader[0] << ": " << read.err;
  }
}

TEST_F(ListCommandTest, HelpOptionErrorsAndUnknownRecorders) {
  const std::string path = "Missed required option: --path (-p)\n";
  expectRuns({{{"list", "-h"}, kHelp, "", 1},
              {{"help", "LS"}, kHelp, "", 1},
              {{"list", "-h", "--bogus"}, kHelp, "", 1},
              {{"ls", "-h", "nope"}, kHelp, "", 1},
              {{"ls"}, "", path, 2},
              {{"ls", "--path", "/x"}, "", "Missed required option: --name (-n)\n", 2},
              {{"ls", "1", "--path", "/x", "--name", "cam"}, "",
               "Option --path (-p) is mutually exclusive with Recorders identifiers\n", 2},
              {{"ls", "--afu", "--trash", "1"}, "",
               "Option --afu is mutually exclusive with --trash\n", 2},
              {{"ls", "--limit", "ten", "1"}, "", "Invalid value 'ten' for --limit (-l)\n", 2},
              {{"ls", "--sort", "Time", "1"}, "", "Invalid value 'Time' for --sort (-S)\n", 2},
              {{"ls", "1", "nope"}, "", "Recorder not found\n", 1}},
             env());
  // Surplus words fail at once, however many there are.
  for (std::size_t count : {129, 300}) {
    std::vector<std::string> args(count + 1, "1");
    args[0] = "ls";
    expectRuns({{args, "", "Too many occurrences of Recorders identifiers\n", 2}}, env());
  }
}

TEST_F(ListCommandTest, NoRecorderIsAnEmptyListABrokenOneIsOneLineWithStatusOne) {
  testing_support::writeDeviceConfig(config, {});
  expectRuns({{{"ls", "--json", "all"}, "[]", "", 0}}, env());
  const std::string notAFolder = tmp / "file";
  testing_support::writeFile(notAFolder, "not a folder");
  expectOneLineFailure({"ls", "--path", notAFolder, "--name", "x"}, env(), "", notAFolder);
  // The JSON array was opened before the folder was read, and stays open.
  expectOneLineFailure({"ls", "--json", "--path", notAFolder, "--name", "x"}, env(), "[",
                       notAFolder);
  testing_support::writeFile(config, "{ \"media\": \n");
  expectOneLineFailure({"ls", "1"}, env(), "", config);
}

}  // namespace
