// End-to-end tests of `archive stat`: the real binary on the device of device_fixture.h.
#include <string>
#include <vector>

#include "test_support.h"

namespace {

using testing_support::expectRuns;
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
Args repeated(std::size_t count, const std::string& word) {
  Args args(count + 1, word);
  args[0] = "stat";
  return args;
}

class StatTest : public testing_support::DeviceTest {};

// Recorder 1 holds 4 files (620 bytes, the jpg is not counted), one of them queued (200);
// its trash holds 2 (110) of which one is queued. Recorder 4 has only a queued deleted file.
TEST_F(StatTest, TotalsOfFilesQueuesAndTrashes) {
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
       {{"stat", "--trash", "--json", "4"}, "{\"count\":1,\"size\":1000}\n", "", 0},
       {repeated(128, "2"), "128\t8960\n128\t8960\n", "", 0},
       {{"stat", "--bogus", "-xz", "--afu", "1"}, "1\t200\n", "", 0}},
      env());
  // A single channel is chosen by a name prefix, without any configuration.
  expectRuns({{{"stat", "--path", a1, "--name", "front_20240301T141"}, "1\t200\n1\t200\n", "", 0},
              {{"stat", "-p", tmp / "missing", "-n", "front"}, "0\t0\n0\t0\n", "", 0}},
             {{"DEVICE_CONFIG", tmp / "absent.json"}});
}

TEST_F(StatTest, HelpErrorsAndFailures) {
  expectRuns({{{"help", "st"}, kHelp, "", 1},
              {{"stat", "-h", "--afu", "--trash", "1", "nosuch"}, kHelp, "", 1},
              {{"stat", "--afu", "--trash", "1"}, "",
               "Option --afu is mutually exclusive with --trash\n", 2},
              {{"stat", "--path", "/x", "--name", "cam", "1"}, "",
               "Option --path (-p) is mutually exclusive with Recorders identifiers\n", 2},
              {{"stat", "--json", "--json", "--json", "1"}, "", "Too many occurrences of --json\n", 2},
              {repeated(129, "1"), "", "Too many occurrences of Recorders identifiers\n", 2},
              {{"stat", "--json", "1", "nosuch"}, "", "Recorder not found\n", 1},
              // Identifiers match whole and exactly; "all" only alone.
              {{"stat", "ALL"}, "", "Recorder not found\n", 1},
              {{"stat", ""}, "", "Recorder not found\n", 1},
              {{"stat", "all", "1"}, "", "Recorder not found\n", 1}},
             env());
  testing_support::writeFile(config, "{}");
  expectRuns({{{"stat", "all"}, "0\t0\n0\t0\n", "", 0}}, env());
}

}  // namespace
