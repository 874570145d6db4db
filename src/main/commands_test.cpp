// Tests of the command table, its lookup, the general help and the help command's own
// answers; the real program is run by tests/main_test.cpp.
#include "main/commands.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace {

const char kGeneralHelp[] =
    "Archive Tool Box\n"
    "Usage: archive <command> [options]\n"
    "Type 'archive help <command>' for help on a specific command.\n"
    "\n"
    "Available commands:\n"
    "  help (h) - show help on a specific command\n"
    "  list (ls) - list archive files\n"
    "  stat (st) - archive statistics\n";

TEST(CommandTableTest, HoldsThreeCommandsInOrderAndNothingPastTheEnd) {
  ASSERT_EQ(commandCount(), 3u);
  const char* names[] = {"help", "list", "stat"};
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_NE(commandAt(i), nullptr) << i;
    EXPECT_STREQ(commandAt(i)->name, names[i]) << i;
    EXPECT_NE(commandAt(i)->handler, nullptr) << i;
  }
  EXPECT_EQ(commandAt(3), nullptr);
  EXPECT_EQ(commandAt(static_cast<std::size_t>(-1)), nullptr);
}

TEST(FindCommandTest, MatchesWholeNamesAndAliasesIgnoringCase) {
  struct Case {
    const char* word;
    const char* found;  // the entry's name, or null
  } cases[] = {
      {"help", "help"}, {"h", "help"},    {"HELP", "help"},    {"H", "help"},      {"list", "list"},
      {"LIST", "list"}, {"Ls", "list"},   {"ls", "list"},      {"stat", "stat"},   {"Stat", "stat"},
      {"ST", "stat"},   {"lis", nullptr}, {"l", nullptr},      {"lists", nullptr}, {"s", nullptr},
      {"", nullptr},    {"-h", nullptr},  {"--help", nullptr}, {" ls", nullptr},
  };
  for (const Case& c : cases) {
    const CommandEntry* entry = findCommand(c.word);
    if (c.found == nullptr) {
      EXPECT_EQ(entry, nullptr) << "'" << c.word << "'";
    } else {
      ASSERT_NE(entry, nullptr) << "'" << c.word << "'";
      EXPECT_STREQ(entry->name, c.found) << "'" << c.word << "'";
    }
  }
}

TEST(GeneralHelpTest, ListsEveryCommandWithItsAlias) {
  std::ostringstream out;
  printGeneralHelp(out);
  EXPECT_EQ(out.str(), kGeneralHelp);
}

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

Outcome runHelp(const std::vector<const char*>& args) {
  std::ostringstream out, err;
  const int status = helpCommand(static_cast<int>(args.size()), args.data(), out, err);
  return {status, out.str(), err.str()};
}

TEST(HelpCommandTest, WithoutOperandPrintsTheGeneralHelpAndSucceeds) {
  for (const char* word : {"help", "h", "HeLp"}) {
    const Outcome run = runHelp({word});
    EXPECT_EQ(run.status, 0) << word;
    EXPECT_EQ(run.out, kGeneralHelp) << word;
    EXPECT_EQ(run.err, "") << word;
  }
}

TEST(HelpCommandTest, UnknownOperandGetsNoUsageHint) {
  struct Case {
    std::vector<const char*> args;
    const char* err;
  } cases[] = {
      {{"help", "frob"}, "Unknown command: 'frob'\n"},
      {{"h", "--help", "list"}, "Unknown command: '--help'\n"},
      {{"help", "lis"}, "Unknown command: 'lis'\n"},
  };
  for (const Case& c : cases) {
    const Outcome run = runHelp(c.args);
    EXPECT_EQ(run.status, 1) << c.args[1];
    EXPECT_EQ(run.out, "") << c.args[1];
    EXPECT_EQ(run.err, c.err) << c.args[1];
  }
}

Outcome runDispatch(const std::vector<const char*>& args) {
  std::ostringstream out, err;
  const int status = dispatch(static_cast<int>(args.size()), args.data(), out, err);
  return {status, out.str(), err.str()};
}

TEST(DispatchTest, AnswersWithoutACommandHandler) {
  struct Case {
    std::vector<const char*> args;
    int status;
    std::string out;
    std::string err;
  } cases[] = {
      {{"archive"}, 1, "", "Type 'archive help' for usage.\n"},
      {{"archive", "-h"}, 1, kGeneralHelp, ""},
      {{"archive", "--help", "list"}, 1, kGeneralHelp, ""},
      {{"archive", "-H"}, 1, "", "Unknown command: '-H'\nType 'archive help' for usage.\n"},
      {{"archive", "lis", "-h"}, 1, "", "Unknown command: 'lis'\nType 'archive help' for usage.\n"},
  };
  for (const Case& c : cases) {
    const Outcome run = runDispatch(c.args);
    const std::string name = c.args.size() > 1 ? c.args[1] : "(nothing)";
    EXPECT_EQ(run.status, c.status) << name;
    EXPECT_EQ(run.out, c.out) << name;
    EXPECT_EQ(run.err, c.err) << name;
  }
}

}  // namespace
