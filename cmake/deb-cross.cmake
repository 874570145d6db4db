# Read by cpack in a cross build: dpkg-shlibdeps asks the sysroot's dpkg database which
# package holds each library the binary needs.
set(ENV{DPKG_ADMINDIR} "${CPACK_ARCHIVE_DPKG_ADMINDIR}")
