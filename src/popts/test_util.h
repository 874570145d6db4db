// Helpers for the option library's tests: run a parser over a list of words.
#pragma once

#include <string>
#include <vector>

#include "popts/popts.h"

namespace popts_test {

// Parses `words` as the arguments after the command word "ls". The vector handed to the
// parser has no terminating null entry, as when the help command calls a handler.
inline void parseWords(popts::OptParser& parser, const std::vector<std::string>& words,
                       bool ignoreUnknown = true) {
  std::vector<const char*> argv{"ls"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  parser.parse(static_cast<int>(argv.size()), argv.data(), ignoreUnknown);
}

// The message parse throws, or "no error".
inline std::string errorOf(popts::OptParser& parser, const std::vector<std::string>& words,
                           bool ignoreUnknown = true) {
  try {
    parseWords(parser, words, ignoreUnknown);
  } catch (const popts::OptException& e) {
    return e.message;
  }
  return "no error";
}

// The words joined by spaces, to name a case in a failure message.
inline std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return "'" + text + "'";
}

}  // namespace popts_test
