// End-to-end tests of the command dispatcher: the real binary's output and exit status.
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

using testing_support::runArchive;
using testing_support::RunResult;

const char kGeneralHelp[] =
    "Archive Tool Box\n"
    "Usage: archive <command> [options]\n"
    "Type 'archive help <command>' for help on a specific command.\n"
    "\n"
    "Available commands:\n"
    "  help (h) - show help on a specific command\n"
    "  list (ls) - list archive files\n"
    "  stat (st) - archive statistics\n";

const char kUsageHint[] = "Type 'archive help' for usage.\n";

std::string unknown(const std::string& word) { return "Unknown command: '" + word + "'\n"; }

std::string named(const std::vector<std::string>& args) {
  std::string text = "archive";
  for (const std::string& arg : args) text += " " + arg;
  return text;
}

TEST(DispatcherTest, AnswersThatNeedNoCommandHandler) {
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string out;
    std::string err;
  };
  const std::vector<Case> cases = {
      {{}, 1, "", kUsageHint},
      // The help switches ignore what follows them and fail; the help command succeeds.
      {{"-h", "list", "--frobnicate"}, 1, kGeneralHelp, ""},
      {{"--help", "nonsense"}, 1, kGeneralHelp, ""},
      {{"help"}, 0, kGeneralHelp, ""},
      {{"h"}, 0, kGeneralHelp, ""},
      {{"HELP"}, 0, kGeneralHelp, ""},
      // The help switches are case-sensitive; command words only match whole.
      {{"-H"}, 1, "", unknown("-H") + kUsageHint},
      {{"--HELP"}, 1, "", unknown("--HELP") + kUsageHint},
      {{"lis"}, 1, "", unknown("lis") + kUsageHint},
      {{"lists", "list"}, 1, "", unknown("lists") + kUsageHint},
      // `help` names an unknown word without the hint, and looks at its first operand only;
      // `help help` asks the help command for its own help, which looks up "--help".
      {{"h", "lis", "list"}, 1, "", unknown("lis")},
      {{"help", "help"}, 1, "", unknown("--help")},
  };
  for (const Case& c : cases) {
    const RunResult run = runArchive(c.args);
    ASSERT_FALSE(run.timedOut) << named(c.args);
    EXPECT_EQ(run.status, c.status) << named(c.args);
    EXPECT_EQ(run.out, c.out) << named(c.args);
    EXPECT_EQ(run.err, c.err) << named(c.args);
  }
}

// `help <command> words...` is `<command> --help`, in any case: the handler's own help.
TEST(DispatcherTest, HelpForACommandIsItsOwnHelpSwitch) {
  struct Pair {
    std::vector<std::string> viaHelp;
    std::vector<std::string> direct;
  } pairs[] = {
      {{"help", "list", "extra", "--frobnicate"}, {"list", "--help"}},
      {{"h", "Stat"}, {"ST", "--help"}},
  };
  for (const Pair& p : pairs) {
    const RunResult viaHelp = runArchive(p.viaHelp);
    const RunResult direct = runArchive(p.direct);
    EXPECT_EQ(viaHelp.status, direct.status) << named(p.viaHelp);
    EXPECT_EQ(viaHelp.out, direct.out) << named(p.viaHelp);
    EXPECT_EQ(viaHelp.err, direct.err) << named(p.viaHelp);
    EXPECT_NE(direct.out, "") << named(p.direct);
    EXPECT_NE(direct.out, kGeneralHelp) << named(p.direct);
    EXPECT_EQ(direct.err, "") << named(p.direct);
  }
}

// A standard exception leaving a handler (here list's, reached as LS) is reported as its
// what() text alone: no prefix and no usage hint.
TEST(DispatcherTest, StandardExceptionFromAHandlerIsItsTextWithStatusOne) {
  const testing_support::TempDir dir;
  testing_support::makeDirs(dir / "front");
  testing_support::writeDeviceConfig(dir / "device.json", {{"1", "Front", dir / "front"}});
  const RunResult run = runArchive({"LS", "nope"}, {{"DEVICE_CONFIG", dir / "device.json"}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "Recorder not found\n");
}

// Without DEVICE_CONFIG the default file is read; where it is missing, the one line also
// tells how to name another.
TEST(DispatcherTest, MissingDefaultConfigurationSaysHowToNameAnother) {
  if (access("/etc/device/config.json", F_OK) == 0) GTEST_SKIP() << "this machine has one";
  const RunResult run = runArchive({"stat", "all"}, {{"DEVICE_CONFIG", ""}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "/etc/device/config.json: cannot read: No such file or directory (set "
            "DEVICE_CONFIG to the path of the device configuration)\n");
}

}  // namespace
