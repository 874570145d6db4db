// Helpers for the option library's tests: run a parser over a list of words.
#pragma once

#include <string>
#include <vector>

#include "popts/popts.h"

namespace popts_test {

// What parse threw: its message ("no error" when it returned), option and value text.
struct Outcome {
  std::string error = "no error";
  const popts::Opt* option = nullptr;
  std::string value;
};

// Parses `words` as the arguments after the command word "ls". The vector handed to the
// parser has no terminating null entry, as when the help command calls a handler.
inline Outcome parseWords(popts::OptParser& parser, const std::vector<std::string>& words,
                          bool ignoreUnknown = true) {
  std::vector<const char*> argv{"ls"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  try {
    parser.parse(static_cast<int>(argv.size()), argv.data(), ignoreUnknown);
  } catch (const popts::OptException& e) {
    return {e.message, e.option, e.value};
  }
  return {};
}

// The words joined by spaces and quoted, to name a case in a failure message.
inline std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return "'" + text + "'";
}

}  // namespace popts_test
