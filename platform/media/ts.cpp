// MPEG transport stream duration: the span between the first and the last program
// clock reference, or between presentation time stamps where no PCR is carried.
//
// Accepted structure: packets of 188 bytes (or 192: a 4-byte time code, then 188) each
//   starting with sync 0x47; header: pid:13 (bytes 1-2), adaptation_field_control:2 and
//   continuity:4 (byte 3); adaptation field: length:u8, flags:u8 (0x10 = PCR), then
//   pcr_base:33 reserved:6 pcr_ext:9. A PES packet begins, in a payload starting a unit,
//   with 00 00 01 stream_id len:u16 flags:u8 flags:u8 (PTS present: top bits 10 or 11)
//   header_len:u8 and the 33-bit PTS in 5 bytes.
// The first stamp is searched in the first 512 KiB, the last in the last 512 KiB, on
// the same PID; the clock wraps at 2^33 ticks of its base, and a span of more than half
// a wrap is taken as damage.
#include <algorithm>
#include <optional>
#include <vector>

#include "media/parsers.h"

namespace media {

namespace {

constexpr std::uint64_t kWindow = 512 * 1024;
constexpr std::uint64_t kPcrWrap = (std::uint64_t(1) << 33) * 300;  // 27 MHz ticks
constexpr std::uint64_t kPtsWrap = std::uint64_t(1) << 33;          // 90 kHz ticks

struct Stamp {
  int pid = -1;
  std::uint64_t value = 0;
};

// The stamps found in one packet (`p` points at its sync byte, 188 bytes follow).
void packetStamps(const std::uint8_t* p, Stamp* pcr, Stamp* pts) {
  const int pid = ((p[1] & 0x1f) << 8) | p[2];
  const int afc = (p[3] >> 4) & 3;
  std::size_t payload = 4;
  if (afc & 2) {
    const std::size_t length = p[4];
    if (length > 183) return;
    if (length >= 7 && (p[5] & 0x10)) {
      const std::uint64_t base = std::uint64_t(p[6]) << 25 | std::uint64_t(p[7]) << 17 |
                                 std::uint64_t(p[8]) << 9 | std::uint64_t(p[9]) << 1 | (p[10] >> 7);
      const std::uint64_t ext = std::uint64_t(p[10] & 1) << 8 | p[11];
      *pcr = {pid, base * 300 + ext};
    }
    payload += 1 + length;
  }
  if (!(afc & 1) || !(p[1] & 0x40) || payload + 14 > 188) return;
  const std::uint8_t* pes = p + payload;
  if (pes[0] != 0 || pes[1] != 0 || pes[2] != 1) return;
  const std::uint8_t sid = pes[3];
  if (!(sid == 0xbd || (sid >= 0xc0 && sid <= 0xef))) return;
  if ((pes[7] >> 6) < 2) return;
  const std::uint8_t* t = pes + 9;
  *pts = {pid, std::uint64_t(t[0] & 0x0e) << 29 | std::uint64_t(t[1]) << 22 |
                   std::uint64_t(t[2] & 0xfe) << 14 | std::uint64_t(t[3]) << 7 | (t[4] >> 1)};
}

class TsScanner {
 public:
  TsScanner(Reader& reader, std::uint64_t first, std::uint64_t packetSize)
      : reader_(reader),
        first_(first),
        packet_(packetSize),
        chunk_((kMaxReadLength / packetSize) * packetSize),
        buffer_(chunk_) {}

  // Reads one chunk from `begin` (packet aligned, at most up to `end`) and calls
  // `visit(pcr, pts)` for each whole packet in it. False when nothing could be read.
  template <class Visit>
  bool scanChunk(std::uint64_t begin, std::uint64_t end, Visit visit) {
    const std::size_t n = reader_.read(begin, buffer_.data(), std::min(chunk_, end - begin));
    for (std::size_t at = 0; at + packet_ <= n; at += packet_) {
      const std::uint8_t* p = buffer_.data() + at + (packet_ - 188);
      if (p[0] != 0x47) continue;
      Stamp pcr, pts;
      packetStamps(p, &pcr, &pts);
      visit(pcr, pts);
    }
    return n > 0;
  }

  std::uint64_t chunk() const { return chunk_; }
  std::uint64_t alignDown(std::uint64_t offset) const {
    return offset <= first_ ? first_ : first_ + (offset - first_) / packet_ * packet_;
  }

 private:
  Reader& reader_;
  std::uint64_t first_, packet_, chunk_;
  std::vector<std::uint8_t> buffer_;
};

// Offset of the first packet's first byte and the packet size, if the head syncs.
bool findSync(Reader& reader, std::uint64_t* first, std::uint64_t* packetSize) {
  std::uint8_t head[1024];
  const std::size_t n = reader.read(0, head, sizeof head);
  for (std::uint64_t size : {188, 192}) {
    const std::uint64_t lead = size - 188;
    for (std::uint64_t at = 0; at + lead + 2 * size < n && at < size; ++at) {
      const std::uint64_t sync = at + lead;
      if (head[sync] == 0x47 && head[sync + size] == 0x47 && head[sync + 2 * size] == 0x47) {
        *first = at;
        *packetSize = size;
        return true;
      }
    }
  }
  return false;
}

}  // namespace

std::optional<std::int64_t> tsDuration(Reader& reader) {
  std::uint64_t first = 0, packetSize = 188;
  if (!findSync(reader, &first, &packetSize)) return std::nullopt;
  const std::uint64_t size = reader.size();
  TsScanner scanner(reader, first, packetSize);

  Stamp firstPcr, firstPts;
  const std::uint64_t headEnd = std::min(size, first + kWindow);
  for (std::uint64_t at = first; at < headEnd && firstPcr.pid < 0; at += scanner.chunk()) {
    if (!scanner.scanChunk(at, headEnd, [&](const Stamp& pcr, const Stamp& pts) {
          if (firstPcr.pid < 0 && pcr.pid >= 0) firstPcr = pcr;
          if (firstPts.pid < 0 && pts.pid >= 0) firstPts = pts;
        }))
      break;
  }
  const bool usePcr = firstPcr.pid >= 0;
  const Stamp start = usePcr ? firstPcr : firstPts;
  if (start.pid < 0) return std::nullopt;
  const std::uint64_t wrap = usePcr ? kPcrWrap : kPtsWrap;

  // From the end backwards, a chunk at a time, until a chunk holds a stamp of that PID.
  // The largest span in that chunk wins: presentation stamps come out of order.
  std::uint64_t span = 0;
  bool found = false;
  const std::uint64_t tailBegin = scanner.alignDown(size > kWindow ? size - kWindow : 0);
  std::uint64_t end = size;
  while (!found && end > tailBegin) {
    const std::uint64_t begin =
        std::max(tailBegin, scanner.alignDown(end > scanner.chunk() ? end - scanner.chunk() : 0));
    if (!scanner.scanChunk(begin, end, [&](const Stamp& pcr, const Stamp& pts) {
          const Stamp& s = usePcr ? pcr : pts;
          if (s.pid != start.pid) return;
          const std::uint64_t d = (s.value + wrap - start.value) % wrap;
          if (d > wrap / 2) return;  // before the first stamp: reordered or damage
          span = std::max(span, d);
          found = true;
        }))
      break;
    if (begin == end) break;
    end = begin;
  }
  if (!found || span == 0) return std::nullopt;
  return roundedQuotient(span, usePcr ? 27000000 : 90000);
}

}  // namespace media
