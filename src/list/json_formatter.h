// The JSON formatter of the list command: one array, one object per file, members
// chosen by the letters of a column format, and no line end anywhere.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "list/browse.h"

// Letters and members (case matters; later letters overwrite earlier ones' members):
//   A  recording, downloaded, locked, deleted, afu_queue   a  recording, downloaded, locked
//   T  created: local time as "YYYY-MM-DDThh:mm:ss+hhmm"  t  created: epoch seconds
//   S  size   D  duration (seconds)   N  name   F  filename   i  id (the file name again)
//   f  path   E  extension   e  event_id   r  recorder
// Any other letter adds nothing; a file with no member is written as {}.
class JsonBrowseFilesFormatter : public IBrowseFilesFormatter {
 public:
  explicit JsonBrowseFilesFormatter(std::string columnFormat);

  std::ostream& begin(std::ostream& out) override;
  std::ostream& format(std::ostream& out, archive::FileInfo& file) override;
  std::ostream& end(std::ostream& out) override;

 private:
  std::string columnFormat_;
  std::uint64_t count_ = 0;  // files written so far: a comma precedes all but the first
};
