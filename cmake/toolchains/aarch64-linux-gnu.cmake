# 64-bit ARM (Debian's arm64).
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ARCHIVE_TRIPLET aarch64-linux-gnu)
set(ARCHIVE_DEB_ARCH arm64)
set(ARCHIVE_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
