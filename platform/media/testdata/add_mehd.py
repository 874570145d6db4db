# Inserts a movie extends header (mehd) into the mvex box of a fragmented MP4 whose
# fragments address data relative to their moof, growing moov and mvex to match.
# usage: python3 add_mehd.py IN OUT VERSION DURATION (in the mvhd time scale)
import struct
import sys

src, dst, version, duration = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
data = bytearray(open(src, 'rb').read())
body = struct.pack('>I', version << 24) + (
    struct.pack('>Q', duration) if version == 1 else struct.pack('>I', duration))
mehd = struct.pack('>I4s', 8 + len(body), b'mehd') + body
moov = data.find(b'moov') - 4
mvex = data.find(b'mvex', moov) - 4
for box in (moov, mvex):
    size = struct.unpack('>I', data[box:box + 4])[0]
    data[box:box + 4] = struct.pack('>I', size + len(mehd))
data[mvex + 8:mvex + 8] = mehd
open(dst, 'wb').write(data)
