// Names kept around their start token; see detail/folder_store.h.
#include "archive/detail/folder_store.h"

#include <limits>

#include "archive/detail/file_name.h"

namespace archive::detail {

namespace {

constexpr std::size_t kMaxStore = std::numeric_limits<std::uint32_t>::max();

// A name around its start token: head + token + middle + tail, the tail from the last
// "." on. A start token is only ever the one spelling of its time (fixed width, every
// field in range), so formatStartToken() writes the token's own text back from the start
// time, and the name is rebuilt exactly without keeping the token.
struct Split {
  std::string_view head, middle, tail;
};

Split splitAtToken(std::string_view name, std::size_t tokenOffset) {
  Split split;
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

void Folder::appendName(const FileEntry& entry, std::string& out) const {
  const std::string_view stored(names.data() + entry.nameOffset, entry.nameLength);
  if (entry.shape == 0) {
    out.append(stored);
    return;
  }
  const NameShape& shape = shapes[entry.shape - 1];
  char token[kTokenLength];
  formatStartToken(entry.startTime, token);  // the token's own text (see Split)
  out.append(shape.head).append(token, kTokenLength).append(stored).append(shape.tail);
}

void FolderStore::startFolder(FolderOrigin origin) {
  finishFolder();
  origin_ = std::move(origin);
  current_ = nullptr;
}

Folder& FolderStore::newPart(std::size_t position) {
  finishFolder();
  folders_.push_back(std::make_unique<Folder>());
  current_ = folders_.back().get();
  static_cast<FolderOrigin&>(*current_) = origin_;
  current_->position = position;
  return *current_;
}

FileEntry FolderStore::add(std::string_view name, const NameParts& parts, std::int64_t startTime,
                           std::uint8_t flags, std::size_t position) {
  Folder& folder =
      !current_ || current_->names.size() + name.size() > kMaxStore ? newPart(position) : *current_;
  FileEntry entry;
  entry.folder = &folder;
  entry.startTime = startTime;
  entry.flags = flags;
  std::string_view stored = name;
  if (parts.hasToken) {
    const Split split = splitAtToken(name, parts.tokenOffset);
    entry.shape = shapeIndex(folder, split.head, split.tail);
    if (entry.shape != 0) stored = split.middle;
  }
  entry.nameOffset = std::uint32_t(folder.names.size());
  entry.nameLength = std::uint16_t(stored.size());
  if (!stored.empty()) folder.names.append(stored);  // most names leave nothing to store
  return entry;
}

void FolderStore::finishFolder() {
  if (current_) current_->names.shrink_to_fit();
}

}  // namespace archive::detail
