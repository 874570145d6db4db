// The option descriptors' shared behaviour: construction, naming, switches, value errors
// and the option list of a help screen.
#include "popts/popts.h"

#include <ostream>

namespace popts {

Opt::Opt(OptParser& parser, char sname, std::string lname, std::string desc, std::size_t limit,
         bool isRequired)
    : Opt(sname, std::move(lname), std::move(desc), limit, isRequired) {
  // Only the address is stored, so registering a descriptor under construction is safe.
  parser.add(*this);
}

Opt::Opt(char sname, std::string lname, std::string desc, std::size_t limit, bool isRequired)
    : shortName(sname),
      longName(std::move(lname)),
      description(std::move(desc)),
      maxCount(limit),
      required(isRequired) {}

// First rule that applies: both names, short only, long only, the description of a
// positional option, and "unnamed" when there is nothing to call it by.
std::string Opt::displayName() const {
  if (shortName != 0 && !longName.empty()) {
    return "--" + longName + " (-" + shortName + ")";
  }
  if (shortName != 0) return std::string("-") + shortName;
  if (!longName.empty()) return "--" + longName;
  if (!description.empty()) return description;
  return "unnamed";
}

OptValueException::OptValueException(const Opt& about, const std::string& text)
    : OptException("Invalid value '" + text + "' for " + about.displayName(), &about, text) {}

// Inverting rather than setting lets a switch turn off a flag that starts true; later
// occurrences are only counted so that a repeated switch does not flip it back.
int Switch::parse(int /*argc*/, const char* const /*argv*/[]) {
  if (count == 0) *target = !*target;
  ++count;
  return 0;
}

// One line per option: "  -s,--long<TAB>description". Options without a description and
// positional options (shown by the command's own header) are left out. There is no
// column alignment: the tab is the only layout, which reads well on a device console.
void OptParser::printUsage(std::ostream& out) const {
  for (const Opt* option : options) {
    if (option->description.empty() || option->positional()) continue;
    out << "  ";
    if (option->shortName != 0) {
      out << '-' << option->shortName;
      if (!option->longName.empty()) out << ',';
    }
    if (!option->longName.empty()) out << "--" << option->longName;
    out << '\t' << option->description << std::endl;
  }
}

}  // namespace popts
