// The text formatter of the list command.
#include "list/shell_formatter.h"

#include <boost/format.hpp>
#include <cstdint>
#include <utility>

namespace {

// "m:ss" below one hour, "h:mm:ss" from 3600 seconds on; divisions truncate toward zero.
std::string durationText(std::int64_t seconds) {
  if (seconds < 3600) {
    return (boost::format("%d:%02d") % (seconds / 60) % (seconds % 60)).str();
  }
  return (boost::format("%d:%02d:%02d") % (seconds / 3600) % (seconds / 60 % 60) % (seconds % 60))
      .str();
}

}  // namespace

ShellBrowseFilesFormatter::ShellBrowseFilesFormatter(std::string columnFormat, bool quote)
    : columnFormat_(std::move(columnFormat)), quote_(quote) {}

std::ostream& ShellBrowseFilesFormatter::format(std::ostream& out, archive::FileInfo& file) {
  for (std::string::size_type i = 0; i < columnFormat_.size(); ++i) {
    if (i != 0) out << '\t';
    writeColumn(out, columnFormat_[i], file);
  }
  // Flushed per line so that a reader of a long listing sees it as it is produced.
  out << std::endl;
  return out;
}

void ShellBrowseFilesFormatter::writeColumn(std::ostream& out, char letter,
                                            archive::FileInfo& file) const {
  switch (letter) {
    case 'A':
      out << (file.isRecording() ? 'R' : '-') << (file.isDownloaded() ? 'D' : '-')
          << (file.isLocked() ? 'L' : '-') << (file.deleted ? 'T' : '-')
          << (file.isInAFUQueue() ? 'A' : '-');
      break;
    case 'a':
      // Five characters like `A`, the trash and AFU places always blank, so that scripts
      // that cut by position read both forms alike.
      out << (file.isRecording() ? 'R' : '-') << (file.isDownloaded() ? 'D' : '-')
          << (file.isLocked() ? 'L' : '-') << "--";
      break;
    case 'T':
      out << localTimeText(file.getStartTime(), "%Y-%m-%d %H:%M:%S");
      break;
    case 't':
      out << file.getStartTime();
      break;
    case 'S':
      out << file.getSize();
      break;
    case 'D':
      out << file.getDuration();
      break;
    case 'd':
      out << durationText(file.getDuration());
      break;
    case 'N':
      writeText(out, file.getName());
      break;
    case 'F':
      writeText(out, file.fileName);
      break;
    case 'f':
      writeText(out, file.path().string());
      break;
    case 'E':
      writeText(out, file.extension());
      break;
    case 'e':
      writeText(out, file.getEventId());
      break;
    case 'R':
      writeText(out, file.owner ? file.owner->recorderLabel : std::string());
      break;
    case 'r':
      if (file.owner) out << file.owner->recorderName;
      break;
    default:
      break;
  }
}

void ShellBrowseFilesFormatter::writeText(std::ostream& out, const std::string& text) const {
  if (quote_) {
    out << '"' << text << '"';
  } else {
    out << text;
  }
}
