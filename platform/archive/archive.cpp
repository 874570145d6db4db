// The archive and its two views, the trash and the AFU queue: each gathers entries by
// scanning the archive's folders (see docs/archive-layout.md).
#include "archive/archive.h"

#include "archive/detail/dir_reader.h"
#include "archive/detail/folder_scan.h"
#include "archive/detail/folder_store.h"
#include "archive/detail/markers.h"
#include "archive/detail/selection.h"

namespace archive {

struct Archive::State {
  Owner owner;
  boost::filesystem::path directory;
  detail::Selection selection;
  // Read when gathering and kept: each marker folder is read once per archive, if at all.
  detail::Markers markers;
  std::uint8_t markersAsked = kAllMarkers;
  bool opened = false;
  bool missing = false;  // <dir> did not exist at the first gathering
  detail::FolderStore folders;

  // Opens <dir> first, so that a <dir> that cannot be read is reported by its own name
  // rather than by the name of the first folder inside it; then reads the marker
  // folders asked (and `more`) whole, so that one that cannot be read is reported with
  // the gathering, before any file is listed.
  void prepare(std::uint8_t more) {
    if (!opened) {
      missing = !detail::openFolder(directory.string());
      opened = true;
    }
    if (!missing) markers.read(directory.string(), markersAsked | more);
  }

  void scan(bool inTrash, std::uint8_t addFlags, std::uint8_t requireFlags,
            std::deque<detail::FileEntry>& out) {
    prepare(requireFlags);
    if (missing) return;
    detail::ScanRequest request;
    request.owner = &owner;
    request.path = inTrash ? directory / ".trash" : directory;
    request.selection = &selection;
    request.markers = &markers;
    request.addFlags = addFlags;
    request.requireFlags = requireFlags;
    detail::scanFolder(request, folders, out);
  }
};

Archive::Archive(std::string const& id, std::string const& /*kind*/, std::string const& label,
                 boost::filesystem::path const& directory, std::string const& extensions)
    : afuQueue(*this), trash(*this), state_(std::make_unique<State>()) {
  state_->owner.recorderName = id;
  state_->owner.recorderLabel = label;
  state_->directory = directory;
  state_->selection.setExtensions(extensions);
}

Archive::Archive(std::string const& name, boost::filesystem::path const& directory,
                 std::string const& extensions)
    : afuQueue(*this), trash(*this), state_(std::make_unique<State>()) {
  state_->owner.recorderName = name;
  state_->owner.recorderLabel = name;
  state_->directory = directory;
  state_->selection.byPrefix = true;
  state_->selection.prefix = name;
  state_->selection.setExtensions(extensions);
}

Archive::~Archive() = default;

void Archive::appendEntries(std::deque<detail::FileEntry>& entries) const {
  state_->scan(false, 0, 0, entries);
}

void Archive::setExtensions(std::string const& extensions) {
  state_->selection.setExtensions(extensions);
}

void Archive::readMarkers(std::uint8_t markers) { state_->markersAsked = markers; }

void AFUQueue::appendEntries(std::deque<detail::FileEntry>& entries) const {
  // No marker, no queue: spares two scans of possibly large folders. Reading the
  // markers already reports a <dir> that cannot be read.
  Archive::State& state = *archive_.state_;
  state.prepare(detail::kInAFUQueue);
  if (state.missing || !state.markers.anyCarries(detail::kInAFUQueue)) return;
  archive_.state_->scan(false, 0, detail::kInAFUQueue, entries);
  archive_.state_->scan(true, detail::kDeleted, detail::kInAFUQueue, entries);
}

void Trash::appendEntries(std::deque<detail::FileEntry>& entries) const {
  archive_.state_->scan(true, detail::kDeleted, 0, entries);
}

}  // namespace archive
