# Cross compiling for 64-bit ARM with Debian's cross compiler (crossbuild-essential-arm64)
# and the :arm64 libraries installed through multiarch (dpkg --add-architecture arm64).
# The programs built here, tests included, run under qemu-user; ctest and the end-to-end
# tests start them through CMAKE_CROSSCOMPILING_EMULATOR.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# Multiarch: the arm64 libraries and their CMake packages lie in /usr/lib/aarch64-linux-gnu
# beside the host's; this makes find_package and find_library look there and not in the
# host's folders. Architecture-independent packages (nlohmann/json) are found in
# /usr/share as usual.
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# -L: the arm64 C library of the cross toolchain, for the dynamic loader.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu)

# pkg-config (liburing) reads the arm64 .pc files and the architecture-independent ones,
# never the host's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
