// Reading the recorder list of the device configuration.
//
// Accepted layout (everything else in the file is ignored):
//   { "media": { "recorders": [ { "id": "1", "label": "Front",
//                                 "archiveDirectory": "/data/archive/1" }, ... ] } }
// "id" is required; "label" and "archiveDirectory" default to "". A relative
// "archiveDirectory" is taken relative to the folder of the configuration file.
#include "sysinfo/mminfo.h"

#include <boost/filesystem/operations.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace sysinfo {

namespace {

// The single place that words a configuration fault: "<file>: <where>: <fault>".
std::runtime_error configError(const cfg::Node& root, const std::string& where,
                               const std::string& fault) {
  return std::runtime_error(root.file().string() + ": " + where + ": " + fault);
}

// The member `key` of `object` as a string; `fallback` when absent.
std::string stringMember(const cfg::Node& root, const cfg::Node& object, const std::string& key,
                         const std::string& where, const std::string* fallback) {
  const std::optional<cfg::Node> member = object.member(key);
  if (!member) {
    if (!fallback) throw configError(root, where + "." + key, "missing");
    return *fallback;
  }
  if (!member->isString()) throw configError(root, where + "." + key, "expected a string");
  std::string text = member->text();
  // "\u0000" is valid JSON, but a path or an id cut at the NUL would name something else.
  if (text.find('\0') != std::string::npos)
    throw configError(root, where + "." + key, "holds a NUL byte");
  return text;
}

// Absolute and lexically normal, without looking at the disk (the storage may not be
// mounted yet). A trailing "/" would leave a "." behind; drop it so that file paths
// built on the folder read naturally.
std::string archiveFolder(const cfg::Node& root, const std::string& directory) {
  if (directory.empty()) return directory;
  // Boost's operator/ appends even an absolute path, hence absolute(path, base).
  const boost::filesystem::path base = boost::filesystem::absolute(root.file()).parent_path();
  boost::filesystem::path folder = boost::filesystem::absolute(directory, base).lexically_normal();
  while (folder.filename() == "." && folder.has_parent_path()) folder = folder.parent_path();
  return folder.string();
}

// The recorder list of `root`, whole or not at all.
std::vector<std::shared_ptr<RecorderInfo>> readRecorders(const cfg::Node& root) {
  std::vector<std::shared_ptr<RecorderInfo>> recorders;
  if (!root.isObject()) throw configError(root, "top level", "expected an object");
  const std::optional<cfg::Node> media = root.member("media");
  if (!media) return recorders;
  if (!media->isObject()) throw configError(root, "media", "expected an object");
  const std::optional<cfg::Node> list = media->member("recorders");
  if (!list) return recorders;
  if (!list->isArray()) throw configError(root, "media.recorders", "expected an array");
  const std::string empty;
  const std::vector<cfg::Node> entries = list->elements();
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const cfg::Node& entry = entries[i];
    const std::string where = "media.recorders[" + std::to_string(i) + "]";
    if (!entry.isObject()) throw configError(root, where, "expected an object");
    auto recorder = std::make_shared<RecorderInfo>();
    recorder->id = stringMember(root, entry, "id", where, nullptr);
    recorder->label = stringMember(root, entry, "label", where, &empty);
    recorder->archiveDirectory =
        archiveFolder(root, stringMember(root, entry, "archiveDirectory", where, &empty));
    recorders.push_back(std::move(recorder));
  }
  return recorders;
}

}  // namespace

// Replaced only once the whole list was read: a broken file leaves no half list.
void MMInfo::load(cfg::Node const& root) { recorders = readRecorders(root); }

}  // namespace sysinfo
