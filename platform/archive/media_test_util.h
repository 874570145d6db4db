// Helpers for the media tests: reading samples, locating boxes by hand, counting reads
// and editing transport stream packets.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "archive/media_duration.h"

namespace archive::media::testutil {

inline std::string readSample(const std::string& name) {
  std::ifstream in(std::string(ARCHIVE_TESTDATA) + "/" + name, std::ios::binary);
  EXPECT_TRUE(in.good()) << "missing sample " << name;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

inline std::uint32_t be32At(const std::string& b, std::size_t at) {
  return be32(reinterpret_cast<const std::uint8_t*>(b.data() + at));
}

inline void putBe32(std::string& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = char(v >> (24 - 8 * i));
}

inline void putLe32(std::string& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = char(v >> (8 * i));
}

// Offset of the top-level box `type` (32-bit sizes only, as in the samples), or npos.
inline std::size_t boxAt(const std::string& b, const char* type) {
  for (std::size_t at = 0; at + 8 <= b.size();) {
    if (b.compare(at + 4, 4, type) == 0) return at;
    const std::uint32_t size = be32At(b, at);
    if (size < 8) break;
    at += size;
  }
  return std::string::npos;
}

inline std::size_t boxEnd(const std::string& b, const char* type) {
  const std::size_t at = boxAt(b, type);
  return at == std::string::npos ? 0 : at + be32At(b, at);
}

// One past the LIST of `type` (found by its type code), or 0.
inline std::size_t riffListEnd(const std::string& b, const char* type) {
  const std::size_t at = b.find(type);
  if (at == std::string::npos || at < 8) return 0;
  const auto* p = reinterpret_cast<const std::uint8_t*>(b.data() + at - 4);
  return at - 8 + 8 + le32(p);
}

// A buffer reader that checks every request against the parsers' limits.
class CountingReader : public BufferReader {
 public:
  explicit CountingReader(std::string_view bytes) : BufferReader(bytes) {}
  std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) override {
    ++reads;
    total += length;
    EXPECT_LE(length, kMaxReadLength);
    return BufferReader::read(offset, buffer, length);
  }
  int reads = 0;
  std::uint64_t total = 0;
};

// Calls `edit(packet)` for each 188-byte packet (after the 4-byte lead in 192-byte
// packets) of a stream that starts in sync.
inline void forEachPacket(std::string& b, std::size_t packetSize,
                          const std::function<void(std::uint8_t*)>& edit) {
  for (std::size_t at = packetSize - 188; at + 188 <= b.size(); at += packetSize)
    edit(reinterpret_cast<std::uint8_t*>(&b[at]));
}

inline bool hasPcr(const std::uint8_t* p) {
  return (p[3] & 0x20) && p[4] >= 7 && (p[5] & 0x10);
}

inline std::uint64_t pcrOf(const std::uint8_t* p) {
  const std::uint64_t base = std::uint64_t(p[6]) << 25 | std::uint64_t(p[7]) << 17 |
                             std::uint64_t(p[8]) << 9 | std::uint64_t(p[9]) << 1 | (p[10] >> 7);
  return base * 300 + ((std::uint64_t(p[10] & 1) << 8) | p[11]);
}

inline void setPcr(std::uint8_t* p, std::uint64_t pcr) {
  const std::uint64_t base = pcr / 300, ext = pcr % 300;
  p[6] = std::uint8_t(base >> 25);
  p[7] = std::uint8_t(base >> 17);
  p[8] = std::uint8_t(base >> 9);
  p[9] = std::uint8_t(base >> 1);
  p[10] = std::uint8_t(((base & 1) << 7) | 0x7e | (ext >> 8));
  p[11] = std::uint8_t(ext);
}

}  // namespace archive::media::testutil
