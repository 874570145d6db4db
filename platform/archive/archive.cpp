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
  // Read on the first gathering and kept: each marker folder is read once per archive.
  std::unique_ptr<detail::Markers> markers;
  bool missing = false;  // <dir> did not exist at the first gathering
  detail::FolderStore folders;

  // Opens <dir> first, so that a <dir> that cannot be read is reported by its own name
  // rather than by the name of the first folder inside it; then reads the marker
  // folders whole, so that one that cannot be read is reported with the gathering,
  // before any file is listed.
  detail::Markers& prepare() {
    if (!markers) {
      const std::string dir = directory.string();
      missing = !detail::openFolder(dir);
      markers =
          missing ? std::make_unique<detail::Markers>() : std::make_unique<detail::Markers>(dir);
    }
    return *markers;
  }

  void scan(bool inTrash, std::uint8_t addFlags, std::uint8_t requireFlags,
            std::deque<detail::FileEntry>& out) {
    prepare();
    if (missing) return;
    detail::ScanRequest request;
    request.owner = &owner;
    request.path = inTrash ? directory / ".trash" : directory;
    request.selection = &selection;
    request.markers = markers.get();
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

void AFUQueue::appendEntries(std::deque<detail::FileEntry>& entries) const {
  // No marker, no queue: spares two scans of possibly large folders. Reading the
  // markers already reports a <dir> that cannot be read.
  detail::Markers& markers = archive_.state_->prepare();
  if (archive_.state_->missing || !markers.anyCarries(detail::kInAFUQueue)) return;
  archive_.state_->scan(false, 0, detail::kInAFUQueue, entries);
  archive_.state_->scan(true, detail::kDeleted, detail::kInAFUQueue, entries);
}

void Trash::appendEntries(std::deque<detail::FileEntry>& entries) const {
  archive_.state_->scan(true, detail::kDeleted, 0, entries);
}

}  // namespace archive
