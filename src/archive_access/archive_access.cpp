// Building the archive set from the command line and the device configuration.
#include "archive_access/archive_access.h"

#include "cfg/configdb.h"

namespace {

// Fixed for every configured recorder: the kind the archive library expects for the
// device's recorders, and the containers they write.
const char kRecorderKind[] = "VGA";
const char kRecorderExtensions[] = "avi,mov,mp4,ts";

bool isEveryRecorder(const std::vector<std::string>& identifiers) {
  return identifiers.size() == 1 && (identifiers[0] == "*" || identifiers[0] == "all");
}

}  // namespace

ArchiveSet makeArchives(
    const popts::OptionValue<std::string>& pathOption,
    const popts::OptionValue<std::string>& nameOption,
    const popts::MultiOptionValue<std::string, std::vector<std::string>>& identifiersOption) {
  if (pathOption.count > 0) return makeChannelArchives(pathOption.value(), nameOption.value());
  const cfg::Configdb& db = cfg::Configdb::config();
  // Scoped to this call: the archives copy what they need, the records go away here.
  sysinfo::MMInfo media;
  media.load(db.root());
  return makeRecorderArchives(identifiersOption.values(), media.recorders);
}

ArchiveSet makeChannelArchives(const std::string& pathValue, const std::string& nameValue) {
  // A channel is not a configured recorder: every extension counts.
  return {std::make_shared<archive::Archive>(nameValue, boost::filesystem::path(pathValue),
                                             std::string())};
}

ArchiveSet makeRecorderArchives(const std::vector<std::string>& identifiers,
                                const Recorders& recorders) {
  ArchiveSet set;
  if (isEveryRecorder(identifiers)) {
    for (const auto& recorder : recorders) {
      if (!recorder->archiveDirectory.empty()) set.push_back(makeRecorderArchive(*recorder));
    }
    return set;
  }
  // Named recorders in the order given; a name given twice is deliberately kept twice.
  for (const std::string& id : identifiers) {
    const auto recorder = findRecorder(recorders, id);
    if (!recorder) throw RecorderNotFound(id);
    // A recorder that keeps no archive is configured, so naming it is not an error.
    if (recorder->archiveDirectory.empty()) continue;
    set.push_back(makeRecorderArchive(*recorder));
  }
  return set;
}

std::shared_ptr<archive::Archive> makeRecorderArchive(const sysinfo::RecorderInfo& recorder) {
  return std::make_shared<archive::Archive>(recorder.id, kRecorderKind, recorder.label,
                                            boost::filesystem::path(recorder.archiveDirectory),
                                            kRecorderExtensions);
}

std::shared_ptr<sysinfo::RecorderInfo> findRecorder(const Recorders& recorders,
                                                    const std::string& id) {
  for (const auto& recorder : recorders) {
    if (recorder->id == id) return recorder;
  }
  return nullptr;
}

std::vector<archive::AFUQueue const*> afuQueues(const ArchiveSet& set) {
  std::vector<archive::AFUQueue const*> queues;
  queues.reserve(set.size());
  for (const auto& a : set) queues.push_back(&a->afuQueue);
  return queues;
}

std::vector<archive::Trash const*> trashes(const ArchiveSet& set) {
  std::vector<archive::Trash const*> result;
  result.reserve(set.size());
  for (const auto& a : set) result.push_back(&a->trash);
  return result;
}
