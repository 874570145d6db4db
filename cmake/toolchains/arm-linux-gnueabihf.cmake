# 32-bit ARM with hardware floating point (Debian's armhf: ARMv7).
set(CMAKE_SYSTEM_PROCESSOR arm)
set(ARCHIVE_TRIPLET arm-linux-gnueabihf)
set(ARCHIVE_DEB_ARCH armhf)
set(ARCHIVE_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
