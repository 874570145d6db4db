// The marker name set: FNV-1a hashing, linear probing, a load of at most one half.
#include "archive/detail/name_set.h"

#include <limits>
#include <stdexcept>

namespace archive::detail {

namespace {

std::uint64_t hashName(std::string_view name) {
  std::uint64_t h = 1469598103934665603ull;
  for (unsigned char c : name) {
    h ^= c;
    h *= 1099511628211ull;
  }
  return h;
}

}  // namespace

std::string_view NameSet::nameAt(std::uint32_t slot) const {
  const std::size_t offset = slot - 1;
  const std::size_t length =
      (std::size_t(std::uint8_t(store_[offset])) << 8) | std::uint8_t(store_[offset + 1]);
  return std::string_view(store_.data() + offset + 3, length);
}

std::size_t NameSet::findSlot(std::string_view name, std::uint64_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
    if (slots_[i] == 0 || nameAt(slots_[i]) == name) return i;
  }
}

std::size_t NameSet::filterBit(std::uint64_t hash) const {
  return std::size_t(hash >> 32) & (filter_.size() * 64 - 1);
}

bool NameSet::mayHold(std::uint64_t hash) const {
  const std::size_t bit = filterBit(hash);
  return (filter_[bit / 64] >> (bit % 64)) & 1;
}

void NameSet::markFilter(std::uint64_t hash) {
  const std::size_t bit = filterBit(hash);
  filter_[bit / 64] |= std::uint64_t(1) << (bit % 64);
}

void NameSet::rehash(std::size_t capacity) {
  std::vector<std::uint32_t> old;
  old.swap(slots_);
  slots_.assign(capacity, 0);
  filter_.assign(capacity * 4 / 64, 0);
  for (std::uint32_t slot : old) {
    if (slot == 0) continue;
    const std::uint64_t hash = hashName(nameAt(slot));
    slots_[findSlot(nameAt(slot), hash)] = slot;
    markFilter(hash);
  }
}

void NameSet::insert(std::string_view name, std::uint8_t bits) {
  if (name.size() > 0xffff) return;
  if ((count_ + 1) * 2 > slots_.size()) rehash(slots_.empty() ? 64 : slots_.size() * 2);
  const std::uint64_t hash = hashName(name);
  const std::size_t i = findSlot(name, hash);
  if (slots_[i] != 0) {  // already there
    store_[slots_[i] - 1 + 2] = char(std::uint8_t(store_[slots_[i] - 1 + 2]) | bits);
    return;
  }
  if (store_.size() + name.size() + 3 >= std::numeric_limits<std::uint32_t>::max())
    throw std::length_error("too many marker names");
  slots_[i] = std::uint32_t(store_.size() + 1);
  markFilter(hash);
  store_.push_back(char(name.size() >> 8));
  store_.push_back(char(name.size() & 0xff));
  store_.push_back(char(bits));
  store_.append(name);
  ++count_;
}

bool NameSet::contains(std::string_view name) const {
  if (count_ == 0) return false;
  const std::uint64_t hash = hashName(name);
  return mayHold(hash) && slots_[findSlot(name, hash)] != 0;
}

std::uint8_t NameSet::bitsOf(std::string_view name) const {
  if (count_ == 0) return 0;
  const std::uint64_t hash = hashName(name);
  if (!mayHold(hash)) return 0;
  const std::uint32_t slot = slots_[findSlot(name, hash)];
  return slot == 0 ? 0 : std::uint8_t(store_[slot - 1 + 2]);
}

}  // namespace archive::detail
