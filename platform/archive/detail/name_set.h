// A compact set of file names for the marker folders: one byte store and an open
// addressing table of offsets, a few bytes per name beyond the name itself. Each name
// carries a byte of bits, so that one lookup answers for every marker folder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace archive::detail {

class NameSet {
 public:
  // Adds `name` with `bits` (or-ed into the bits it has when already there). At most
  // 65535 bytes; longer names are ignored, no file has one.
  void insert(std::string_view name, std::uint8_t bits = 1);
  bool contains(std::string_view name) const;
  // The bits of `name`; 0 when it is absent.
  std::uint8_t bitsOf(std::string_view name) const;
  std::size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }

 private:
  std::size_t findSlot(std::string_view name, std::uint64_t hash) const;
  std::string_view nameAt(std::uint32_t slot) const;
  void rehash(std::size_t capacity);

  std::size_t filterBit(std::uint64_t hash) const;
  bool mayHold(std::uint64_t hash) const;
  void markFilter(std::uint64_t hash);

  std::string store_;                 // each name: 2 length bytes (big endian), its bits, its bytes
  std::vector<std::uint32_t> slots_;  // 0 = empty, else offset into store_ + 1
  // A bit per hash of the high half, four times as many as slots: most names asked for
  // are absent (a marker is the exception), and most of those are told so by this
  // small table alone, without a look at the slots and the store.
  std::vector<std::uint64_t> filter_;
  std::size_t count_ = 0;
};

}  // namespace archive::detail
