// Helpers for the archive tests: gathering a source and browsing it into plain records.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "archive/archive.h"

namespace archive::testutil {

// What a browse handed on about one file.
struct Seen {
  std::string fileName;
  std::string name, eventId, extension, path, recorder, label;
  std::int64_t start = 0, size = 0;
  bool deleted = false, recording = false, locked = false, downloaded = false, afu = false;
};

inline Seen seen(FileInfo& f) {
  Seen s;
  s.fileName = f.fileName;
  s.name = f.getName();
  s.eventId = f.getEventId();
  s.extension = f.extension();
  s.path = f.path().string();
  s.recorder = f.owner ? f.owner->recorderName : "?";
  s.label = f.owner ? f.owner->recorderLabel : "?";
  s.start = f.getStartTime();
  s.size = f.getSize();
  s.deleted = f.deleted;
  s.recording = f.isRecording();
  s.locked = f.isLocked();
  s.downloaded = f.isDownloaded();
  s.afu = f.isInAFUQueue();
  return s;
}

inline std::vector<Seen> browse(std::deque<detail::FileEntry>& entries,
                                 BrowseSortOrder order = BrowseSortOrder::time,
                                 unsigned long start = 0, unsigned long limit = 0,
                                 const BrowseFilter& filter = BrowseFilter()) {
  std::vector<Seen> out;
  detail::browseFileEntries(entries, order, start, limit, filter, [&](FileInfo& f) {
    out.push_back(seen(f));
    return true;
  });
  return out;
}

template <class Source>
std::vector<Seen> gather(const Source& source, BrowseSortOrder order = BrowseSortOrder::time) {
  std::deque<detail::FileEntry> entries;
  source.appendEntries(entries);
  return browse(entries, order);
}

inline std::vector<std::string> names(const std::vector<Seen>& files) {
  std::vector<std::string> out;
  for (const Seen& s : files) out.push_back(s.fileName);
  return out;
}

}  // namespace archive::testutil
