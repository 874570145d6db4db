# Cross compiling with Debian's cross compiler (crossbuild-essential-<arch>) against a
# sysroot of the target's own Debian packages: Boost, GoogleTest, liburing and
# nlohmann/json, and the runtime packages whose symbols give a .deb its dependencies,
# downloaded and unpacked by scripts/fetch-debs into build-sysroot/<Debian architecture>.
# The host's package architectures stay as they are; the build compiles and links with
# the cross compiler's own C library and libstdc++ (/usr/<triplet>).
#
# Included by a target's toolchain file after it sets ARCHIVE_TRIPLET (arm-linux-gnueabihf),
# ARCHIVE_DEB_ARCH (armhf), ARCHIVE_QEMU (qemu-arm) and CMAKE_SYSTEM_PROCESSOR. The programs
# built here, tests included, run under qemu-user: ctest and the end-to-end tests start
# them through CMAKE_CROSSCOMPILING_EMULATOR.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${ARCHIVE_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${ARCHIVE_TRIPLET}-g++)

# Relative to this file, not to the project: try_compile reads the toolchain file from a
# project of its own.
get_filename_component(ARCHIVE_SYSROOT
  "${CMAKE_CURRENT_LIST_DIR}/../../build-sysroot/${ARCHIVE_DEB_ARCH}" ABSOLUTE)
if(NOT EXISTS "${ARCHIVE_SYSROOT}/usr/lib/${ARCHIVE_TRIPLET}")
  message(FATAL_ERROR "no ${ARCHIVE_DEB_ARCH} sysroot in ${ARCHIVE_SYSROOT}: "
                      "make cross-test ARCH=${ARCHIVE_DEB_ARCH} downloads it")
endif()

# Packages and libraries come from the sysroot only, never from the host's folders;
# programs (the host's tools) from the host.
set(CMAKE_LIBRARY_ARCHITECTURE ${ARCHIVE_TRIPLET})
set(CMAKE_FIND_ROOT_PATH "${ARCHIVE_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config (liburing) reads the sysroot's .pc files and prefixes their paths with it.
set(ENV{PKG_CONFIG_LIBDIR}
    "${ARCHIVE_SYSROOT}/usr/lib/${ARCHIVE_TRIPLET}/pkgconfig:${ARCHIVE_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${ARCHIVE_SYSROOT}")

# -L: the cross compiler's C library, for the dynamic loader; the sysroot's shared
# libraries (Boost, liburing, libstdc++) for a build that links them dynamically.
set(CMAKE_CROSSCOMPILING_EMULATOR ${ARCHIVE_QEMU} -L /usr/${ARCHIVE_TRIPLET}
    -E LD_LIBRARY_PATH=${ARCHIVE_SYSROOT}/usr/lib/${ARCHIVE_TRIPLET})
