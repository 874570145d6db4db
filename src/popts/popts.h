// The tool's command-line option library: typed option descriptors, their value
// parsers, the parser that walks a command line, and the option list of a help screen.
//
// A command declares its options as local descriptor objects registered with one
// OptParser, declares their relations (dependsOn, excludes), calls parse() and then
// reads `count` and the values from the descriptors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace popts {

class Opt;
class OptParser;

// An option error: what the user typed wrongly. Deliberately not a std::exception, so
// only the command handlers, which catch it by type, ever see it.
class OptException {
 public:
  OptException(std::string text, const Opt* about = nullptr, std::string valueText = {})
      : message(std::move(text)), option(about), value(std::move(valueText)) {}

  std::string message;  // the complete text shown to the user
  const Opt* option;    // the option the error is about, or null
  std::string value;    // the offending value text; empty when the parser raised it
};

// A bad or missing value: "Invalid value '<value>' for <display name>".
class OptValueException : public OptException {
 public:
  OptValueException(const Opt& about, const std::string& text);
};

namespace detail {
class NonCopyable {
 protected:
  NonCopyable() = default;
  ~NonCopyable() = default;

 public:
  NonCopyable(const NonCopyable&) = delete;
  NonCopyable& operator=(const NonCopyable&) = delete;
};
}  // namespace detail

// The base of every descriptor. A descriptor with neither a short nor a long name is
// positional: it receives the words that are not options.
class Opt : private detail::NonCopyable {
 public:
  // Registers the new descriptor at the end of `parser`'s option list.
  Opt(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
      bool isRequired);
  // Builds the descriptor without registering it; see OptParser::add.
  Opt(char sname, std::string lname, std::string desc, std::size_t limit, bool isRequired);

  // Handles one occurrence. argv[0] is the first word available to the option and
  // argc the number of words from there to the end (0 if none). Returns the number of
  // words consumed (0 or 1) and counts an accepted occurrence; never checks maxCount.
  virtual int parse(int argc, const char* const argv[]) = 0;

  // If this option is given, `other` must be given too.
  void dependsOn(Opt& other) { dependencies.push_back(&other); }
  // This option and `other` must not be given together (recorded on both sides).
  void excludes(Opt& other) {
    exclusions.push_back(&other);
    other.exclusions.push_back(this);
  }

  // How messages name the option: "--long (-s)", "-s", "--long", the description of a
  // positional option, or "unnamed".
  std::string displayName() const;

  bool positional() const { return shortName == 0 && longName.empty(); }

  std::size_t count = 0;
  char shortName;
  std::string longName;
  std::string description;  // empty: left out of the usage text
  std::size_t maxCount;
  bool required;
  std::vector<Opt*> dependencies;  // not owned
  std::vector<Opt*> exclusions;    // not owned

 protected:
  ~Opt() = default;  // descriptors are never destroyed through a base pointer
};

// Converts the text of a value into T; returns false when the text is not a T.
// Numbers are read with base 0 (decimal, 0x hexadecimal, leading-0 octal). A command
// that needs a value type of its own specialises this template beside its handler.
template <typename T>
struct OptValueParser;

template <>
struct OptValueParser<std::string> {
  static bool parse(const char* text, std::string& out);  // never fails
};
// 64 bits on every target: std::uint64_t is unsigned long on 64-bit Linux and unsigned
// long long on a 32-bit one. Read with strtoull, the same as strtoul where long has 64
// bits, so "-1" is 2^64 - 1 everywhere.
template <>
struct OptValueParser<std::uint64_t> {
  static bool parse(const char* text, std::uint64_t& out);  // whole text
};
template <>
struct OptValueParser<unsigned int> {
  static bool parse(const char* text, unsigned int& out);  // as std::uint64_t, 32 bits
};
template <>
struct OptValueParser<int> {
  static bool parse(const char* text, int& out);  // strtol, whole text, 32 bits
};
template <>
struct OptValueParser<bool> {
  // 1/y/yes/on/true and 0/n/no/off/false, ignoring case.
  static bool parse(const char* text, bool& out);
};
template <>
struct OptValueParser<std::pair<std::int64_t, std::int64_t>> {
  // "%ld,%ld" on 64-bit Linux (64-bit numbers on every target): two numbers; anything
  // after the second is ignored.
  static bool parse(const char* text, std::pair<std::int64_t, std::int64_t>& out);
};

// A flag. Only the first occurrence acts, and it inverts the flag rather than setting
// it, so a switch over a flag that starts true turns it off.
class Switch : public Opt {
 public:
  Switch(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
         bool isRequired, bool& dest)
      : Opt(parser, sname, std::move(lname), std::move(desc), limit, isRequired), target(&dest) {}

  int parse(int argc, const char* const argv[]) override;

  bool* target;
};

// A switch that owns its flag, which starts false.
class SwitchValue : public Switch {
 public:
  SwitchValue(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
              bool isRequired)
      : Switch(parser, sname, std::move(lname), std::move(desc), limit, isRequired, value_) {}

  bool value() const { return value_; }

 private:
  bool value_ = false;  // declared after the base, but only its address is taken there
};

namespace detail {
// Reads the value of one occurrence of `option` from argv[0] into `out`. "empty" stands
// for the value when the option is the last word.
template <typename Parser, typename T>
void parseValue(const Opt& option, int argc, const char* const argv[], T& out) {
  if (argc < 1) throw OptValueException(option, "empty");
  if (!Parser::parse(argv[0], out)) throw OptValueException(option, argv[0]);
}
}  // namespace detail

// An option with one value, taken from the next word whatever it begins with. A later
// occurrence overwrites the value of an earlier one.
template <typename T, typename Parser = OptValueParser<T>>
class Option : public Opt {
 public:
  // `target` keeps its prior content as the default.
  Option(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
         bool isRequired, T& dest)
      : Opt(parser, sname, std::move(lname), std::move(desc), limit, isRequired), target(&dest) {}

  int parse(int argc, const char* const argv[]) override {
    detail::parseValue<Parser>(*this, argc, argv, *target);
    ++count;
    return 1;
  }

  T* target;
};

// An option with one value that it keeps itself.
template <typename T, typename Parser = OptValueParser<T>>
class OptionValue : public Option<T, Parser> {
 public:
  OptionValue(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
              bool isRequired, const T& initial = T())
      : Option<T, Parser>(parser, sname, std::move(lname), std::move(desc), limit, isRequired,
                          value_),
        value_(initial) {}

  const T& value() const { return value_; }

 private:
  T value_;
};

// An option that may be given repeatedly; each occurrence writes one value through
// `out`, in command-line order.
template <typename T, typename OutputIt, typename Parser = OptValueParser<T>>
class MultiOption : public Opt {
 public:
  MultiOption(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
              bool isRequired, OutputIt out)
      : Opt(parser, sname, std::move(lname), std::move(desc), limit, isRequired), target(out) {}

  int parse(int argc, const char* const argv[]) override {
    T value{};
    detail::parseValue<Parser>(*this, argc, argv, value);
    *target = std::move(value);
    ++target;
    ++count;
    return 1;
  }

  OutputIt target;
};

// A repeatable option that appends its values to a container of its own.
template <typename T, typename Container = std::vector<T>, typename Parser = OptValueParser<T>>
class MultiOptionValue : public MultiOption<T, std::back_insert_iterator<Container>, Parser> {
  using Base = MultiOption<T, std::back_insert_iterator<Container>, Parser>;

 public:
  MultiOptionValue(OptParser& parser, char sname, std::string lname, std::string desc,
                   std::size_t limit, bool isRequired)
      : Base(parser, sname, std::move(lname), std::move(desc), limit, isRequired,
             std::back_inserter(values_)) {}

  const Container& values() const { return values_; }

 private:
  Container values_;  // only its address is taken before it is constructed
};

// Holds a command's descriptors (not owned), walks its arguments once, and checks the
// rules of the whole command line. The built-in help option -h/--help comes first.
class OptParser {
 public:
  OptParser();
  OptParser(const OptParser&) = delete;
  OptParser& operator=(const OptParser&) = delete;

  OptParser& add(Opt& option);
  Opt* findShort(char name) const;
  Opt* findLong(const char* name) const;

  // argv[0] (the command word) is not looked at; argc counts it. Unknown options are
  // dropped when `ignoreUnknown`, errors otherwise. Throws OptException.
  void parse(int argc, const char* const argv[], bool ignoreUnknown);

  bool helpRequested() const { return help.value(); }

  // Writes one line per named option with a description, each flushed.
  void printUsage(std::ostream& out = std::cout) const;

  std::vector<Opt*> options;
  SwitchValue help;
};

}  // namespace popts
