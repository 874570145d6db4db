// End-to-end tests of the command dispatcher: the real binary's output and exit status.
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

std::string unknownCommand(const std::string& word) { return "Unknown command: '" + word + "'\n"; }

std::string joined(const std::vector<std::string>& args) {
  std::string text;
  for (const std::string& arg : args) text += (text.empty() ? "" : " ") + arg;
  return "archive " + text;
}

struct Case {
  std::vector<std::string> args;
  int status;
  std::string out;
  std::string err;
};

void checkRuns(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    const RunResult run = runArchive(c.args);
    ASSERT_FALSE(run.timedOut) << joined(c.args);
    EXPECT_EQ(run.status, c.status) << joined(c.args);
    EXPECT_EQ(run.out, c.out) << joined(c.args);
    EXPECT_EQ(run.err, c.err) << joined(c.args);
  }
}

TEST(DispatcherTest, NoCommandPrintsOnlyTheUsageHint) { checkRuns({{{}, 1, "", kUsageHint}}); }

TEST(DispatcherTest, HelpSwitchesPrintTheGeneralHelpWithStatusOne) {
  checkRuns({
      {{"-h"}, 1, kGeneralHelp, ""},
      {{"--help"}, 1, kGeneralHelp, ""},
      {{"-h", "list", "--frobnicate"}, 1, kGeneralHelp, ""},
      {{"--help", "nonsense"}, 1, kGeneralHelp, ""},
  });
}

TEST(DispatcherTest, HelpCommandPrintsTheGeneralHelpWithStatusZero) {
  checkRuns({
      {{"help"}, 0, kGeneralHelp, ""},
      {{"h"}, 0, kGeneralHelp, ""},
      {{"HELP"}, 0, kGeneralHelp, ""},
      {{"Help"}, 0, kGeneralHelp, ""},
  });
}

TEST(DispatcherTest, UnknownCommandsAreNamedAsTypedWithTheUsageHint) {
  checkRuns({
      // The help switches are case-sensitive, so these are looked up as commands.
      {{"-H"}, 1, "", unknownCommand("-H") + kUsageHint},
      {{"--HELP"}, 1, "", unknownCommand("--HELP") + kUsageHint},
      {{"lis"}, 1, "", unknownCommand("lis") + kUsageHint},
      {{"frob", "list"}, 1, "", unknownCommand("frob") + kUsageHint},
      {{""}, 1, "", unknownCommand("") + kUsageHint},
      {{"-"}, 1, "", unknownCommand("-") + kUsageHint},
      {{"--"}, 1, "", unknownCommand("--") + kUsageHint},
  });
}

TEST(DispatcherTest, HelpWithAnUnknownWordGivesNoUsageHint) {
  checkRuns({
      {{"help", "frob"}, 1, "", unknownCommand("frob")},
      {{"h", "lis", "list"}, 1, "", unknownCommand("lis")},
      // `help help` asks the help command for its help: it looks up "--help".
      {{"help", "help"}, 1, "", unknownCommand("--help")},
      {{"HELP", "H", "list"}, 1, "", unknownCommand("--help")},
  });
}

// The list and stat handlers own their help screens and listings; here it only matters
// that the dispatcher reaches them, so only what the shell itself would print is ruled out.
TEST(DispatcherTest, CommandWordsInAnyCaseReachTheirHandlers) {
  const std::vector<std::vector<std::string>> runs = {
      {"LS", "--help"}, {"list", "-h"},   {"help", "LS"}, {"help", "list", "extra", "words"},
      {"h", "Stat"},    {"ST", "--help"},
  };
  for (const std::vector<std::string>& args : runs) {
    const RunResult run = runArchive(args);
    ASSERT_FALSE(run.timedOut) << joined(args);
    EXPECT_NE(run.out, kGeneralHelp) << joined(args);
    EXPECT_EQ(run.err.find("Unknown command"), std::string::npos) << joined(args);
    EXPECT_EQ(run.err.find(kUsageHint), std::string::npos) << joined(args);
    EXPECT_FALSE(run.out.empty() && run.err.empty()) << joined(args);
  }
}

// A standard exception leaving a handler is reported by the dispatcher as its what() text
// alone: no prefix and no usage hint.
TEST(DispatcherTest, StandardExceptionFromAHandlerIsItsTextWithStatusOne) {
  const testing_support::TempDir dir;
  testing_support::makeDirs(dir / "front");
  testing_support::writeDeviceConfig(dir / "device.json", {{"1", "Front", dir / "front"}});
  const testing_support::Env env{{"DEVICE_CONFIG", dir / "device.json"}};
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"LS", "nope"}, {"st", "1", "nope"}}) {
    const RunResult run = runArchive(args, env);
    EXPECT_EQ(run.status, 1) << joined(args);
    EXPECT_EQ(run.out, "") << joined(args);
    EXPECT_EQ(run.err, "Recorder not found\n") << joined(args);
  }
}

// `help <command> words...` is `<command> --help`; the later words do not reach the handler.
TEST(DispatcherTest, HelpForACommandMatchesItsOwnHelpSwitch) {
  struct Pair {
    std::vector<std::string> viaHelp;
    std::vector<std::string> direct;
  } pairs[] = {
      {{"help", "list", "extra", "--frobnicate"}, {"list", "--help"}},
      {{"h", "LS"}, {"LS", "--help"}},
      {{"help", "stat"}, {"stat", "--help"}},
  };
  for (const Pair& p : pairs) {
    const RunResult viaHelp = runArchive(p.viaHelp);
    const RunResult direct = runArchive(p.direct);
    EXPECT_EQ(viaHelp.status, direct.status) << joined(p.viaHelp);
    EXPECT_EQ(viaHelp.out, direct.out) << joined(p.viaHelp);
    EXPECT_EQ(viaHelp.err, direct.err) << joined(p.viaHelp);
  }
}

}  // namespace
