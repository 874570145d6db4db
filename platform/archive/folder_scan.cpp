// One pass over an archive folder with readdir; a stat only where the name alone
// cannot tell (links, file systems without d_type, names without a start token).
#include "archive/detail/folder_scan.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "archive/detail/dir_reader.h"
#include "archive/detail/file_name.h"
#include "archive/detail/folder_store.h"
#include "archive/detail/markers.h"
#include "archive/detail/read_ahead.h"
#include "archive/detail/selection.h"

namespace archive::detail {

void scanFolder(const ScanRequest& request, FolderStore& store, std::deque<FileEntry>& out) {
  FolderOrigin origin;
  origin.owner = request.owner;
  origin.path = request.path;
  origin.markers = request.markers;
  DirReader reader(request.path.string(), &origin.dir);
  if (!reader.open()) return;
  const int dirFd = origin.dir->get();
  origin.ringSafe = ringServes(dirFd);
  store.startFolder(std::move(origin));

  while (const dirent* d = reader.next()) {
    const std::string_view name(d->d_name);
    if (!request.selection->passes(name)) continue;
    std::uint8_t flags = request.addFlags;
    if (request.requireFlags) {
      flags |= request.markers->flagsOf(name, request.requireFlags);
      if ((flags & request.requireFlags) != request.requireFlags) continue;
    }
    if (name.size() > 0xffff) continue;

    const NameParts parts = parseFileName(name);
    std::int64_t startTime = parts.startTime;
    const bool knownRegular = d->d_type == DT_REG;
    if (d->d_type != DT_REG && d->d_type != DT_LNK && d->d_type != DT_UNKNOWN) continue;
    if (!knownRegular || !parts.hasToken) {
      // A link or an unknown type must be a regular file; a name without a token
      // takes its start from the modification time. A file gone by now is skipped.
      struct stat st;
      if (fstatat(dirFd, d->d_name, &st, 0) != 0 || !S_ISREG(st.st_mode)) continue;
      if (!parts.hasToken) startTime = st.st_mtime;
    }
    out.push_back(store.add(name, parts, startTime, flags, out.size()));
  }
  store.finishFolder();
}

}  // namespace archive::detail
