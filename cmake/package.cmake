# The Debian package: `cpack -G DEB` in the build folder. Depends comes from
# dpkg-shlibdeps (the Boost runtime, libstdc++, libc); a cross build packages for its
# target architecture.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME archive)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Archive Tool Box developers <dev@archive.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "read-only inspector of a recording device's video archives")
# CPack puts the summary in front of it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "archive lists the recordings of the recorders of a body cam, vehicle
or surveillance recorder, the files waiting in the automatic upload (AFU)
queue and those in the trash, as text columns or JSON, and counts files
and bytes. It reads the recorders from the device configuration and never
changes an archive.")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Debian ships manual pages compressed; `cmake --install` keeps them plain.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/deb-compress-man.cmake)

if(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND dpkg-architecture -t ${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
                  OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE
                  OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  # The target's libraries are those of the sysroot, known to the dpkg database that
  # scripts/fetch-debs keeps beside them (the host's knows none of them).
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
      ${ARCHIVE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE}
      ${ARCHIVE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE})
  set(CPACK_ARCHIVE_DPKG_ADMINDIR ${ARCHIVE_SYSROOT}/.apt/dpkg)
  set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/deb-cross.cmake)
endif()

include(CPack)
