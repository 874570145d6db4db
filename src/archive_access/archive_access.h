// Chooses the archives a command works on: recorders named on the command line (looked
// up in the device configuration), every recorder ("*" or "all"), or one channel given
// by folder and name prefix. Also the AFU-queue and trash views of such a set.
#pragma once

#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "popts/popts.h"
#include "sysinfo/mminfo.h"

// The archives chosen on the command line, in selection order; may be empty and may
// hold one recorder twice.
using ArchiveSet = std::vector<std::shared_ptr<archive::Archive>>;

using Recorders = std::vector<std::shared_ptr<sysinfo::RecorderInfo>>;

// An identifier that names no configured recorder. what() is "Recorder not found".
class RecorderNotFound : public std::logic_error {
 public:
  explicit RecorderNotFound(std::string id)
      : std::logic_error("Recorder not found"), recorder(std::move(id)) {}
  std::string recorder;
};

// With --path given: the single channel (the identifiers are not looked at and the
// configuration is not read). Otherwise the recorders of the identifiers.
ArchiveSet makeArchives(
    const popts::OptionValue<std::string>& pathOption,
    const popts::OptionValue<std::string>& nameOption,
    const popts::MultiOptionValue<std::string, std::vector<std::string>>& identifiersOption);

ArchiveSet makeChannelArchives(const std::string& pathValue, const std::string& nameValue);

// A sole "*" or "all": every recorder with an archive folder, in configuration order.
// Otherwise each identifier in turn; recorders without an archive folder are skipped.
// Throws RecorderNotFound for an identifier that matches no recorder exactly.
ArchiveSet makeRecorderArchives(const std::vector<std::string>& identifiers,
                                const Recorders& recorders);

std::shared_ptr<archive::Archive> makeRecorderArchive(const sysinfo::RecorderInfo& recorder);

// The first recorder whose id equals `id` byte for byte, or null.
std::shared_ptr<sysinfo::RecorderInfo> findRecorder(const Recorders& recorders,
                                                    const std::string& id);

// The AFU queues and the trashes of the archives of `set`, in set order. The pointers
// are valid while the set is.
std::vector<archive::AFUQueue const*> afuQueues(const ArchiveSet& set);
std::vector<archive::Trash const*> trashes(const ArchiveSet& set);

// The entries of every member of `sources` (a set, its AFU queues or its trashes) in one
// deque, member after member, so that one browse sorts, pages or counts them together.
template <typename Sources>
std::deque<archive::detail::FileEntry> gatherEntries(const Sources& sources) {
  std::deque<archive::detail::FileEntry> entries;
  for (const auto& source : sources) source->appendEntries(entries);
  return entries;
}
