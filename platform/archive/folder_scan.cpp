// One pass over an archive folder with readdir; a stat only where the name alone
// cannot tell (links, file systems without d_type, names without a start token).
#include "archive/folder_scan.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "archive/file_name.h"

namespace archive::detail {

namespace {

[[noreturn]] void throwFolderError(const std::string& path, int error) {
  throw std::runtime_error("cannot read archive folder " + path + ": " + std::strerror(error));
}

// An open folder; `open()` is false when it does not exist. The descriptor it reads
// through is a duplicate of `kept` when one is given, so that `kept` outlives it.
class DirReader {
 public:
  explicit DirReader(const std::string& path, std::shared_ptr<const DirFd>* kept = nullptr)
      : path_(path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
      if (errno != ENOENT) throwFolderError(path, errno);
      return;
    }
    int readFd = fd;
    if (kept) {
      *kept = std::make_shared<const DirFd>(fd);
      readFd = fcntl(fd, F_DUPFD_CLOEXEC, 0);
      if (readFd < 0) throwFolderError(path, errno);
    }
    dir_ = fdopendir(readFd);
    if (!dir_) {
      const int error = errno;
      ::close(readFd);
      throwFolderError(path, error);
    }
  }
  ~DirReader() {
    if (dir_) closedir(dir_);
  }
  DirReader(const DirReader&) = delete;
  DirReader& operator=(const DirReader&) = delete;

  bool open() const { return dir_ != nullptr; }
  // The next entry other than "." and "..", or null at the end.
  const dirent* next() {
    for (;;) {
      errno = 0;
      const dirent* entry = readdir(dir_);
      if (!entry) {
        if (errno != 0) throwFolderError(path_, errno);
        return nullptr;
      }
      if (entry->d_name[0] != '.') return entry;
      // Names beginning with "." are marker folders, the trash or hidden files.
    }
  }

 private:
  std::string path_;
  DIR* dir_ = nullptr;
};

// The marker folders, by flag.
struct MarkerFolder {
  std::uint8_t flag;
  const char* name;
};
constexpr MarkerFolder kMarkerFolders[] = {
    {kInAFUQueue, "/.afu"}, {kLocked, "/.locked"},
    {kDownloaded, "/.downloaded"}, {kRecording, "/.recording"}};

// Numbers the folders in the order they are made: the gathering order across folders.
std::uint64_t folderCount = 0;

constexpr std::size_t kMaxStore = std::numeric_limits<std::uint32_t>::max();

// A name around its start token: head + token + middle + tail, the tail from the last
// "." on. `canonical`: the token written back from the start time is the name's own
// text, so the name can be rebuilt exactly from the start time.
struct Split {
  bool canonical = false;
  std::string_view head, middle, tail;
};

Split splitAtToken(std::string_view name, std::size_t tokenOffset, std::int64_t startTime) {
  Split split;
  char token[kTokenLength];
  if (!formatStartToken(startTime, token) ||
      name.compare(tokenOffset, kTokenLength, token, kTokenLength) != 0)
    return split;
  split.canonical = true;
  split.head = name.substr(0, tokenOffset);
  const std::string_view rest = name.substr(tokenOffset + kTokenLength);
  const std::size_t dot = rest.rfind('.');
  split.middle = dot == std::string_view::npos ? rest : rest.substr(0, dot);
  split.tail = dot == std::string_view::npos ? std::string_view() : rest.substr(dot);
  return split;
}

// The shape (from 1) of `folder` with this head and tail, added when new; 0 when the
// folder has no room for another.
std::uint8_t shapeIndex(Folder& folder, std::string_view head, std::string_view tail) {
  // Most folders hold one or two shapes; the newest is the likeliest.
  for (std::size_t i = folder.shapes.size(); i-- > 0;) {
    const NameShape& shape = folder.shapes[i];
    if (shape.head == head && shape.tail == tail) return std::uint8_t(i + 1);
  }
  if (folder.shapes.size() >= Folder::kMaxShapes) return 0;
  folder.shapes.push_back(NameShape{std::string(head), std::string(tail)});
  return std::uint8_t(folder.shapes.size());
}

}  // namespace

DirFd::~DirFd() {
  if (fd_ >= 0) ::close(fd_);
}

void Folder::appendName(const FileEntry& entry, std::string& out) const {
  const std::string_view stored(names.data() + entry.nameOffset, entry.nameLength);
  if (entry.shape == 0) {
    out.append(stored);
    return;
  }
  const NameShape& shape = shapes[entry.shape - 1];
  char token[kTokenLength];
  formatStartToken(entry.startTime, token);  // checked when the entry was made
  out.append(shape.head).append(token, kTokenLength).append(stored).append(shape.tail);
}

bool openFolder(const std::string& path) { return DirReader(path).open(); }

void Markers::check() const {
  for (const MarkerFolder& folder : kMarkerFolders) openFolder(dir_ + folder.name);
}

void Markers::load(std::uint8_t flags) {
  for (const MarkerFolder& folder : kMarkerFolders) {
    if (!(flags & folder.flag) || (loaded_ & folder.flag)) continue;
    DirReader reader(dir_ + folder.name);
    if (reader.open()) {
      while (const dirent* entry = reader.next()) {
        names_.insert(entry->d_name, folder.flag);
        carried_ |= folder.flag;
      }
    }
    loaded_ |= folder.flag;
  }
}

std::uint8_t Markers::flagsOf(std::string_view name, std::uint8_t wanted) {
  if ((wanted & loaded_) != wanted) load(wanted);
  // Asking only when some name carries a wanted flag spares the hash for most files.
  if (!(wanted & carried_)) return 0;
  return names_.bitsOf(name) & wanted;
}

bool Markers::anyCarries(std::uint8_t flag) {
  load(flag);
  return (carried_ & flag) != 0;
}

void Selection::setExtensions(const std::string& list) {
  extensions.clear();
  std::size_t begin = 0;
  while (begin <= list.size()) {
    std::size_t end = list.find(',', begin);
    if (end == std::string::npos) end = list.size();
    std::size_t b = begin, e = end;
    while (b < e && (list[b] == ' ' || list[b] == '\t')) ++b;
    while (e > b && (list[e - 1] == ' ' || list[e - 1] == '\t')) --e;
    if (e > b) extensions.push_back(list.substr(b, e - b));
    begin = end + 1;
  }
}

bool Selection::passes(std::string_view name) const {
  if (byPrefix && name.compare(0, prefix.size(), prefix) != 0) return false;
  if (extensions.empty()) return true;
  const std::string_view ext = fileExtension(name);
  if (ext.empty()) return false;
  for (const std::string& wanted : extensions)
    if (equalsIgnoringCase(ext, wanted)) return true;
  return false;
}

void scanFolder(const ScanRequest& request, FolderStore& store, std::deque<FileEntry>& out) {
  const std::string pathText = request.path.string();
  std::shared_ptr<const DirFd> dir;
  DirReader reader(pathText, &dir);
  if (!reader.open()) return;

  Folder* folder = nullptr;
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
      if (fstatat(dir->get(), d->d_name, &st, 0) != 0 || !S_ISREG(st.st_mode)) continue;
      if (!parts.hasToken) startTime = st.st_mtime;
    }

    if (!folder || folder->names.size() + name.size() > kMaxStore) {
      if (folder) folder->names.shrink_to_fit();
      store.push_back(std::make_unique<Folder>());
      folder = store.back().get();
      folder->owner = request.owner;
      folder->path = request.path;
      folder->dir = dir;
      folder->markers = request.markers;
      folder->sequence = ++folderCount;
    }
    FileEntry entry;
    entry.folder = folder;
    entry.startTime = startTime;
    entry.flags = flags;
    std::string_view stored = name;
    if (parts.hasToken) {
      const Split split = splitAtToken(name, parts.tokenOffset, startTime);
      if (split.canonical) {
        entry.shape = shapeIndex(*folder, split.head, split.tail);
        if (entry.shape != 0) stored = split.middle;
      }
    }
    entry.nameOffset = std::uint32_t(folder->names.size());
    entry.nameLength = std::uint16_t(stored.size());
    folder->names.append(stored);
    out.push_back(entry);
  }
  if (folder) folder->names.shrink_to_fit();
}

}  // namespace archive::detail
