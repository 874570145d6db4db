// The command-line parser: one walk over a command's words, then the checks on required,
// mutually exclusive and dependent options.
#include "popts/popts.h"

namespace popts {
namespace {

// Every message the parser raises is built here, so one search finds them all.
OptException badOption(const char* word) { return OptException(std::string("Bad option:") + word); }
OptException unknownLong(const char* name) {
  return OptException(std::string("Unknown option: --") + name);
}
OptException unknownShort(char name) {
  return OptException(std::string("Unknown option: -") + name);
}
OptException tooMany(const Opt& option) {
  return OptException("Too many occurrences of " + option.displayName(), &option);
}
OptException unexpectedArgument(const char* word) {
  return OptException(std::string("Unexpected argument: ") + word);
}
OptException missedRequired(const Opt& missing, const Opt& about) {
  return OptException("Missed required option: " + missing.displayName(), &about);
}
OptException mutuallyExclusive(const Opt& option, const Opt& other) {
  return OptException(
      "Option " + option.displayName() + " is mutually exclusive with " + other.displayName(),
      &option);
}

// The words of the command line not handled yet.
struct Cursor {
  int remaining;
  const char* const* word;

  void skip(int words) {
    remaining -= words;
    word += words;
  }
};

// A named option's limit is tested before the occurrence is counted, with greater-than:
// an option with a limit of 1 is accepted twice, and the second value of a single-valued
// option overwrites the first. Commands rely on that.
void handleOccurrence(Opt& option, Cursor& cursor) {
  if (option.count > option.maxCount) throw tooMany(option);
  cursor.skip(option.parse(cursor.remaining, cursor.word));
}

// A word after the option word, or after "--". Positional options are filled in
// registration order, each up to its limit; the index only moves forward.
void handlePositional(const std::vector<Opt*>& options, std::size_t& next, Cursor& cursor) {
  for (; next < options.size(); ++next) {
    Opt& option = *options[next];
    if (option.positional() && option.count < option.maxCount) {
      cursor.skip(option.parse(cursor.remaining, cursor.word));
      return;
    }
  }
  // Nothing can take the word. Blame the last positional option, whose limit the command
  // line went past, so the user learns what the surplus words were meant to be.
  for (auto it = options.rbegin(); it != options.rend(); ++it) {
    if ((*it)->positional()) throw tooMany(**it);
  }
  throw unexpectedArgument(*cursor.word);
}

void checkRequired(const Opt& option) {
  if (!option.required) return;
  // Two required options that exclude each other form a pair of which one must be given.
  for (const Opt* other : option.exclusions) {
    if (other->required && other->count != 0) return;
  }
  throw missedRequired(option, option);
}

void checkRelations(const Opt& option) {
  for (const Opt* other : option.exclusions) {
    if (other->count != 0) throw mutuallyExclusive(option, *other);
  }
  for (const Opt* needed : option.dependencies) {
    if (needed->count == 0) throw missedRequired(*needed, option);
  }
}

}  // namespace

OptParser::OptParser() : help(*this, 'h', "help", "Show this message", 1, false) {}

OptParser& OptParser::add(Opt& option) {
  options.push_back(&option);
  return *this;
}

Opt* OptParser::findShort(char name) const {
  for (Opt* option : options) {
    if (option->shortName == name) return option;
  }
  return nullptr;
}

Opt* OptParser::findLong(const char* name) const {
  for (Opt* option : options) {
    if (option->longName == name) return option;
  }
  return nullptr;
}

// Grammar of the words after argv[0]:
//   --          every later word is positional
//   --name      a long option; the whole rest is the name (no "--name=value")
//   -           an error, whatever ignoreUnknown says
//   -abc        short options a, b, c; each one that takes a value takes the next word
//   anything else, or any word after "--": a positional word
// A value option takes the next word as it stands, even when it begins with "-".
void OptParser::parse(int argc, const char* const argv[], bool ignoreUnknown) {
  Cursor cursor{argc - 1, argv + 1};
  bool afterTerminator = false;
  std::size_t nextPositional = 0;

  while (cursor.remaining >= 1) {
    const char* word = *cursor.word;
    if (afterTerminator || word[0] != '-') {
      handlePositional(options, nextPositional, cursor);
      continue;
    }
    cursor.skip(1);
    if (word[1] == '-') {
      const char* name = word + 2;
      if (name[0] == '\0') {
        afterTerminator = true;
      } else if (Opt* option = findLong(name)) {
        handleOccurrence(*option, cursor);
      } else if (!ignoreUnknown) {
        throw unknownLong(name);
      }
      continue;
    }
    if (word[1] == '\0') throw badOption(word);
    for (const char* c = word + 1; *c != '\0'; ++c) {
      if (Opt* option = findShort(*c)) {
        handleOccurrence(*option, cursor);
      } else if (!ignoreUnknown) {
        throw unknownShort(*c);
      }
    }
  }

  // With -h or --help the command prints its usage, so no rule about the rest applies.
  if (help.count != 0) return;
  for (const Opt* option : options) {
    if (option->count == 0) {
      checkRequired(*option);
    } else {
      checkRelations(*option);
    }
  }
}

}  // namespace popts
