// The JSON formatter of the list command.
#include "list/json_formatter.h"

#include <utility>

#include "objstream/objstream.h"

namespace {

objstream::object integer(std::int64_t value) {
  return objstream::object(static_cast<long long>(value));
}

void addMembers(objstream::object& record, char letter, archive::FileInfo& file) {
  switch (letter) {
    case 'A':
      record["recording"] = objstream::object(file.isRecording());
      record["downloaded"] = objstream::object(file.isDownloaded());
      record["locked"] = objstream::object(file.isLocked());
      record["deleted"] = objstream::object(file.deleted);
      record["afu_queue"] = objstream::object(file.isInAFUQueue());
      break;
    case 'a':
      record["recording"] = objstream::object(file.isRecording());
      record["downloaded"] = objstream::object(file.isDownloaded());
      record["locked"] = objstream::object(file.isLocked());
      break;
    case 'T':
      record["created"] = objstream::object(localTimeText(file.getStartTime(), "%FT%T%z"));
      break;
    case 't':
      record["created"] = integer(file.getStartTime());
      break;
    case 'S':
      record["size"] = integer(file.getSize());
      break;
    case 'D':
      record["duration"] = integer(file.getDuration());
      break;
    case 'N':
      record["name"] = objstream::object(file.getName());
      break;
    case 'F':
      record["filename"] = objstream::object(file.fileName);
      break;
    case 'i':
      // Clients address a file by its stored name; "id" is the key they look for.
      record["id"] = objstream::object(file.fileName);
      break;
    case 'f':
      record["path"] = objstream::object(file.path().string());
      break;
    case 'E':
      record["extension"] = objstream::object(file.extension());
      break;
    case 'e':
      record["event_id"] = objstream::object(file.getEventId());
      break;
    case 'r':
      record["recorder"] = objstream::object(file.owner ? file.owner->recorderName : std::string());
      break;
    default:
      break;
  }
}

}  // namespace

JsonBrowseFilesFormatter::JsonBrowseFilesFormatter(std::string columnFormat)
    : columnFormat_(std::move(columnFormat)) {}

std::ostream& JsonBrowseFilesFormatter::begin(std::ostream& out) { return out << '['; }

std::ostream& JsonBrowseFilesFormatter::format(std::ostream& out, archive::FileInfo& file) {
  objstream::object record;
  for (char letter : columnFormat_) addMembers(record, letter, file);
  if (count_ != 0) out << ',';
  ++count_;
  return out << record;
}

std::ostream& JsonBrowseFilesFormatter::end(std::ostream& out) { return out << ']'; }
