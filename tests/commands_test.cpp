// End-to-end tests of the real binary on the device of test_support.h: the dispatcher,
// `archive list` and `archive stat`, their output, messages and exit statuses. The tables
// keep one run to a row, so clang-format is off around them.
#include <unistd.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

using testing_support::expectRuns;

const char kGeneralHelp[] =
    "Archive Tool Box\n"
    "Usage: archive <command> [options]\n"
    "Type 'archive help <command>' for help on a specific command.\n"
    "\n"
    "Available commands:\n"
    "  help (h) - show help on a specific command\n"
    "  list (ls) - list archive files\n"
    "  stat (st) - archive statistics\n";

const std::string kHint = "Type 'archive help' for usage.\n";

std::string unknown(const std::string& word) { return "Unknown command: '" + word + "'\n"; }

class DispatcherTest : public testing_support::DeviceTest {};

TEST_F(DispatcherTest, AnswersStatusesAndMessages) {
  // clang-format off
  expectRuns({{{}, "", kHint, 1},
              // The help switches ignore what follows them and fail; the help command succeeds.
              {{"-h", "list", "--frobnicate"}, kGeneralHelp, "", 1},
              {{"--help"}, kGeneralHelp, "", 1},
              {{"HELP"}, kGeneralHelp, "", 0},
              // The help switches are case-sensitive; command words match whole, in any case.
              {{"-H"}, "", unknown("-H") + kHint, 1},
              {{"lis"}, "", unknown("lis") + kHint, 1},
              // `help` names an unknown word without the hint and looks at its first operand
              // only; `help help` looks up "--help".
              {{"h", "lis", "list"}, "", unknown("lis"), 1},
              {{"help", "help"}, "", unknown("--help"), 1},
              // A standard exception from a handler (list's, reached as LS) is its text alone.
              {{"LS", "nope"}, "", "Recorder not found\n", 1}},
             env());
  // clang-format on
  // Without DEVICE_CONFIG the default file is read; where it is missing, the line also
  // tells how to name another.
  if (access("/etc/device/config.json", F_OK) == 0) GTEST_SKIP() << "this machine has one";
  // clang-format off
  expectRuns({{{"stat", "all"}, "",
               "/etc/device/config.json: cannot read: No such file or directory (set "
               "DEVICE_CONFIG to the path of the device configuration)\n", 1}},
             {{"DEVICE_CONFIG", ""}});
  // clang-format on
}

const char kListHelp[] =
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

class ListTest : public testing_support::DeviceTest {};

TEST_F(ListTest, TextColumns) {
  const std::string alarm = "front_20240301T141000Z_alarm-17", mp4 = "front_20240301T143000Z";
  // clang-format off
  expectRuns(
      {{{"ls", "-f", "AaTtSDdNFfEeRr", "-s", "2", "-l", "1", "1"},
        "--L-A\t--L--\t2024-03-01 14:10:00\t1709302200\t200\t3600\t1:00:00\t" + alarm + "\t" +
            alarm + ".mp4\t" + a1 + "/" + alarm + ".mp4\tmp4\talarm-17\tFront\t1\n", "", 0},
       {{"ls", "-q", "-f", "NFfEeRr", "-l", "1", "1"},
        "\"" + mp4 + "\"\t\"" + mp4 + ".MP4\"\t\"" + a1 + "/" + mp4 + ".MP4\"\t\"MP4\"\t\"\"\t"
        "\"Front\"\t1\n", "", 0},
       {{"ls", "-f", "Ad", "1"}, "-----\t59:59\nR----\t0:59\n--L-A\t1:00:00\n-D---\t0:00\n", "", 0},
       {{"ls", "-f", "", "1"}, "\n\n\n\n", "", 0},
       {{"ls", "-f", "xy", "1"}, "\t\n\t\n\t\n\t\n", "", 0}},
      env());
  // clang-format on
  // clang-format off
  expectRuns({{{"ls", "--json", "-f", "T", "-s", "3", "1"},
               "[{\"created\":\"2024-03-01T11:05:09-0300\"}]", "", 0}},
             env("<-03>3"));
  // clang-format on
}

TEST_F(ListTest, SortRangeExtensionsAndSources) {
  const std::string up = "1709301909\n1709302200\n1709302800\n1709303400\n";
  const std::string down = "1709303400\n1709302800\n1709302200\n1709301909\n";
  const std::string every =
      "front_20240301T143500Z\nfront_20240301T143000Z.MP4\nfront_20240301T142500Z.jpg\n"
      "front_20240301T142000Z.ts\n"
      "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T140509Z.mp4\n";
  // clang-format off
  expectRuns(
      {{{"ls", "-f", "t", "1"}, down, "", 0},
       {{"ls", "--sort", "time", "-f", "t", "1"}, up, "", 0},
       {{"ls", "-S", "rt", "-f", "t", "1"}, down, "", 0},
       // Both bounds are inclusive, an upper bound of 0 is none, paging follows the range.
       {{"ls", "--st-range", "1709302200,1709302800", "-f", "t", "1"},
        "1709302800\n1709302200\n", "", 0},
       {{"ls", "--st-range", "1709302200,0", "-s", "1", "-l", "1", "-f", "t", "1"},
        "1709302800\n", "", 0},
       {{"ls", "-e", "*", "-f", "F", "1"}, every, "", 0},
       {{"ls", "--exts", "all", "-f", "F", "1"}, every, "", 0},
       // Items trimmed, matched whole in any case.
       {{"ls", "--exts", " mp , TS\t, \tjpg ", "-f", "F", "1"},
        "front_20240301T142500Z.jpg\nfront_20240301T142000Z.ts\n", "", 0},
       {{"ls", "--exts", "mp4", "--afu", "-f", "F", "1", "2"},
        "front_20240301T141000Z_alarm-17.mp4\nfront_20240301T130000Z.mp4\n", "", 0},
       // Queues and trashes show their deleted files.
       {{"ls", "--afu", "-f", "AF", "1", "2"},
        "--L-A\tfront_20240301T141000Z_alarm-17.mp4\n----A\tcabin_20240301T140000Z.mov\n"
        "R--TA\tfront_20240301T130000Z.mp4\n", "", 0},
       {{"ls", "--trash", "-f", "AF", "all"},
        "-D-T-\tfront_20240301T131000Z.avi\nR--TA\tfront_20240301T130000Z.mp4\n"
        "---TA\troof_20240301T120000Z.mp4\n", "", 0},
       {{"ls", "--foo", "2", "--limit=0", "-f", "S", "-z"}, "70\n", "", 0}},
      env());
  // clang-format on
  // A single channel is chosen by a name prefix, without any configuration.
  // clang-format off
  expectRuns({{{"ls", "-p", a1, "-n", "front_20240301T142", "-f", "rRF"},
               "front_20240301T142\tfront_20240301T142\tfront_20240301T142500Z.jpg\n"
               "front_20240301T142\tfront_20240301T142\tfront_20240301T142000Z.ts\n", "", 0}},
             {{"DEVICE_CONFIG", tmp / "absent.json"}});
  // clang-format on
}

// Files of every kind in one folder. A name without a start token takes its modification
// time as its start, here also one before the epoch and one after 2038; ranges compare
// signed times. The duration is the header's; else, for a container recognised by its
// content whose header has none yet (a recording being written), the time written, from
// 0 to 31 days; else 0. Times, sizes, indexes and bounds are 64-bit on every target,
// 32-bit ARM too.
TEST_F(ListTest, StartsDurationsAndRangesOfOddFiles) {
  const std::string dir = tmp / "odd", ftypOnly("\0\0\0\020ftypisom\0\0\0\0", 16);
  const std::int64_t start = 1709301600;  // 2024-03-01 14:00:00
  const struct {
    const char* name;
    std::string content;
    std::int64_t mtime;
  } files[] = {
      {"header_20240301T140000Z.mp4",
       testing_support::readFile(std::string(EXAMPLE_ARCHIVE) + "/1/front_20261118T070000Z.mp4"),
       start + 3600},
      {"month_20240301T140000Z.avi", ftypOnly, start + 2678400},
      {"ahead_20240301T140000Z.ts", ftypOnly, start + 2678401},
      {"early_20240301T140000Z.mp4", ftypOnly, start - 5},
      {"snapshot_20240301T140000Z.jpg", "\xff\xd8\xff\xe0", start + 60},  // a JPEG
      {"CAM0001.MOV", ftypOnly, start},
      {"camera.mp4", "x", -50},
      {"c_19700101T000140Z.mp4", "x", 100},
      {"late.mp4", "x", 2200000000},
  };
  for (const auto& f : files) {
    testing_support::writeFile(dir + "/" + f.name, f.content);
    testing_support::setMtime(dir + "/" + f.name, f.mtime);
  }
  // 5 GiB (sparse), dated 2040, written for 30 s.
  const std::string big = dir + "/big_20400101T000000Z.mp4";
  testing_support::writeFile(big, ftypOnly);
  ASSERT_EQ(truncate(big.c_str(), 5LL << 30), 0);
  testing_support::setMtime(big, 2208988830);
  // clang-format off
  expectRuns({{{"ls", "-p", dir, "-n", "", "-S", "t", "-l", "-1", "-f", "tDF"},
               "-50\t0\tcamera.mp4\n100\t0\tc_19700101T000140Z.mp4\n"
               "1709301600\t0\tCAM0001.MOV\n1709301600\t0\tahead_20240301T140000Z.ts\n"
               "1709301600\t0\tearly_20240301T140000Z.mp4\n"
               "1709301600\t60\theader_20240301T140000Z.mp4\n"
               "1709301600\t2678400\tmonth_20240301T140000Z.avi\n"
               "1709301600\t0\tsnapshot_20240301T140000Z.jpg\n2200000000\t0\tlate.mp4\n"
               "2208988800\t30\tbig_20400101T000000Z.mp4\n", "", 0},
              {{"ls", "-p", dir, "-n", "", "--st-range", "0,100", "-f", "tT"},
               "100\t1970-01-01 00:01:40\n", "", 0},
              {{"ls", "-p", dir, "-n", "", "--st-range", "-50,99", "-f", "tT"},
               "-50\t1969-12-31 23:59:10\n", "", 0},
              {{"ls", "-p", dir, "-n", "", "--st-range", "2147483648,0", "-f", "tTSD"},
               "2208988800\t2040-01-01 00:00:00\t5368709120\t30\n"
               "2200000000\t2039-09-18 23:06:40\t1\t0\n", "", 0},
              {{"ls", "-p", dir, "-n", "", "--st-range", "-9223372036854775808,9223372036854775807",
                "-s", "9", "-f", "F"}, "camera.mp4\n", "", 0},
              // Not 0 and 1, as they would be cut to 32 bits.
              {{"ls", "-p", dir, "-n", "", "--json", "-s", "4294967296", "-l", "4294967297"},
               "[]", "", 0},
              {{"stat", "-p", dir, "-n", ""}, "10\t5368721379\n0\t0\n", "", 0}},
             env());
  // clang-format on
}

TEST_F(ListTest, JsonMembersOfEveryLetter) {
  const std::string alarm = "front_20240301T141000Z_alarm-17";
  // clang-format off
  expectRuns(
      // The default members; no quotes.
      {{{"ls", "--json", "-q", "-s", "2", "-l", "1", "1"},
        "[{\"afu_queue\":true,\"created\":\"2024-03-01T14:10:00+0000\",\"deleted\":false,"
        "\"downloaded\":false,\"duration\":3600,\"filename\":\"" + alarm + ".mp4\","
        "\"locked\":true,\"name\":\"" + alarm + "\",\"recording\":false,\"size\":200}]", "", 0},
       // R and d have no member; a later letter's member replaces an earlier one's.
       {{"ls", "--json", "-f", "aifEerRdTt", "-s", "2", "-l", "1", "1"},
        "[{\"created\":1709302200,\"downloaded\":false,\"event_id\":\"alarm-17\",\"extension\":"
        "\"mp4\",\"id\":\"" + alarm + ".mp4\",\"locked\":true,\"path\":\"" + a1 + "/" + alarm +
            ".mp4\",\"recorder\":\"1\",\"recording\":false}]", "", 0},
       {{"ls", "--json", "-f", "", "-l", "1", "1"}, "[{}]", "", 0},
       // Each flag's member from its own marker, of the a letter alone and of A.
       {{"ls", "--json", "-f", "a", "-s", "1", "-l", "3", "1"},
        "[{\"downloaded\":false,\"locked\":false,\"recording\":true},{\"downloaded\":false,\"locked\""
        ":true,\"recording\":false},{\"downloaded\":true,\"locked\":false,\"recording\":false}]", "", 0},
       {{"ls", "--json", "--trash", "-f", "A", "1"}, "[{\"afu_queue\":false,\"deleted\":true,"
        "\"downloaded\":true,\"locked\":false,\"recording\":false},{\"afu_queue\":true,\"deleted\":"
        "true,\"downloaded\":false,\"locked\":false,\"recording\":true}]", "", 0},
       {{"ls", "--json", "4"}, "[]", "", 0},
       // Recorder 3 has no archive folder: named alone it lists nothing, without a word.
       {{"ls", "3"}, "", "", 0}},
      env());
  // clang-format on
}

TEST_F(ListTest, HelpErrorsAndFailures) {
  const std::string file = tmp / "file";
  testing_support::writeFile(file, "not a folder");
  // clang-format off
  expectRuns({{{"help", "LS", "x"}, kListHelp, "", 1},
              {{"ls", "-h", "--bogus", "nope"}, kListHelp, "", 1},
              {{"ls"}, "", "Missed required option: --path (-p)\n", 2},
              {{"ls", "--sort", "Time", "1"}, "", "Invalid value 'Time' for --sort (-S)\n", 2},
              {{"ls", "--afu", "--trash", "1"}, "",
               "Option --afu is mutually exclusive with --trash\n", 2},
              {{"ls", "--path", file, "--name", "x"}, "", file + ": cannot read: Not a directory\n", 1}},
             env());
  // clang-format on
  // A configured folder that does not exist (yet) is an empty archive.
  testing_support::writeDeviceConfig(config, {{"5", "Side", tmp / "gone"}});
  // clang-format off
  expectRuns({{{"ls", "5"}, "", "", 0},
              {{"stat", "5"}, "0\t0\n0\t0\n", "", 0}}, env());
  // clang-format on
}

using Args = std::vector<std::string>;

const char kStatHelp[] =
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
Args repeated(std::size_t count, const std::string& word) {
  Args args(count + 1, word);
  args[0] = "stat";
  return args;
}

class StatTest : public testing_support::DeviceTest {};

// Recorder 1 holds 4 files (620 bytes, the jpg is not counted), one of them queued (200);
// its trash holds 2 (110) of which one is queued. Recorder 4 has only a queued deleted file.
TEST_F(StatTest, TotalsOfFilesQueuesAndTrashes) {
  // clang-format off
  expectRuns(
      {{{"stat", "1"}, "4\t620\n1\t200\n", "", 0},
       // A queued file in the trash counts as deleted, never as queued.
       {{"stat", "--afu", "1"}, "1\t200\n", "", 0},
       {{"stat", "4", "--trash"}, "1\t1000\n", "", 0},
       // Recorder 3 has no archive folder and adds nothing.
       {{"stat", "all"}, "5\t690\n2\t270\n", "", 0},
       {{"stat", "*"}, "5\t690\n2\t270\n", "", 0},
       {{"stat", "--json", "1", "2"},
        "{\"afu\":{\"count\":2,\"size\":270},\"files\":{\"count\":5,\"size\":690}}\n", "", 0},
       {{"stat", "--json", "--afu", "1"}, "{\"count\":1,\"size\":200}\n", "", 0},
       {repeated(128, "2"), "128\t8960\n128\t8960\n", "", 0},
       {{"stat", "--bogus", "-xz", "--afu", "1"}, "1\t200\n", "", 0}},
      env());
  // clang-format on
  // A single channel is chosen by a name prefix, without any configuration.
  // clang-format off
  expectRuns({{{"stat", "--path", a1, "--name", "front_20240301T141"}, "1\t200\n1\t200\n", "", 0}},
             {{"DEVICE_CONFIG", tmp / "absent.json"}});
  // clang-format on
}

TEST_F(StatTest, HelpErrorsAndFailures) {
  // clang-format off
  expectRuns({{{"help", "st"}, kStatHelp, "", 1},
              {{"stat", "-h", "--afu", "--trash", "1", "nosuch"}, kStatHelp, "", 1},
              {{"stat", "--afu", "--trash", "1"}, "",
               "Option --afu is mutually exclusive with --trash\n", 2},
              {{"stat", "--path", "/x", "--name", "cam", "1"}, "",
               "Option --path (-p) is mutually exclusive with Recorders identifiers\n", 2},
              {repeated(129, "1"), "", "Too many occurrences of Recorders identifiers\n", 2},
              {{"stat", "--json", "1", "nosuch"}, "", "Recorder not found\n", 1},
              // Identifiers match whole and exactly; "all" only alone.
              {{"stat", "ALL"}, "", "Recorder not found\n", 1},
              {{"stat", ""}, "", "Recorder not found\n", 1},
              {{"stat", "all", "1"}, "", "Recorder not found\n", 1}},
             env());
  // clang-format on
  testing_support::writeFile(config, "{}");
  // clang-format off
  expectRuns({{{"stat", "all"}, "0\t0\n0\t0\n", "", 0}}, env());
  // clang-format on
}

}  // namespace
