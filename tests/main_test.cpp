// End-to-end tests of the command dispatcher: the real binary's output and exit status.
#include <unistd.h>

#include <string>

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
  // Without DEVICE_CONFIG the default file is read; where it is missing, the line also
  // tells how to name another.
  if (access("/etc/device/config.json", F_OK) == 0) GTEST_SKIP() << "this machine has one";
  expectRuns({{{"stat", "all"}, "",
               "/etc/device/config.json: cannot read: No such file or directory (set "
               "DEVICE_CONFIG to the path of the device configuration)\n", 1}},
             {{"DEVICE_CONFIG", ""}});
}

}  // namespace
