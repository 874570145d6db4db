// The text formatter of the list command: one line per file, one tab-separated column
// per letter of a column format.
#pragma once

#include <ostream>
#include <string>

#include "list/browse.h"

// Column letters (case matters):
//   A  flags RDLTA: recording, downloaded, locked, deleted (in trash), in AFU queue
//   a  flags RDL--: the first three only; the last two are always '-'
//   T  start time in local time, "YYYY-MM-DD hh:mm:ss"     t  start time, epoch seconds
//   S  size in bytes                                        D  duration in seconds
//   d  duration as m:ss, or h:mm:ss from one hour on
//   N  name without extension  F  stored file name  f  full path  E  extension
//   e  event id (may be empty)  R  recorder label   r  recorder name
// N F f E e R are put between double quotes when quoting is on; nothing is escaped.
// Any other letter gives an empty column (its tab is still written).
class ShellBrowseFilesFormatter : public IBrowseFilesFormatter {
 public:
  ShellBrowseFilesFormatter(std::string columnFormat, bool quote);

  std::ostream& begin(std::ostream& out) override { return out; }
  std::ostream& format(std::ostream& out, archive::FileInfo& file) override;
  std::ostream& end(std::ostream& out) override { return out; }

 private:
  void writeColumn(std::ostream& out, char letter, archive::FileInfo& file) const;
  void writeText(std::ostream& out, const std::string& text) const;

  std::string columnFormat_;
  bool quote_;
};
