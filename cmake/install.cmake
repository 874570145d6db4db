# Install layout (GNU directories): the program, its manual, the shell completions and the
# documentation. The docs/ and completion/ folders add their own files to it.
set(CMAKE_INSTALL_DOCDIR "share/doc/archive" CACHE PATH "Documentation root (DATAROOTDIR/doc/archive)")
include(GNUInstallDirs)

install(TARGETS archive RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES docs/archive-layout.md docs/list.md docs/stat.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)

# Debian's copyright file and changelog; the changelog compressed as Debian wants it
# (gzip -9n: best compression, no name or time stamp, so the package is reproducible).
set(archive_changelog ${PROJECT_SOURCE_DIR}/packaging/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${archive_changelog})
execute_process(COMMAND gzip -9nc ${archive_changelog}
                OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.Debian.gz
                RESULT_VARIABLE gzip_status)
if(NOT gzip_status EQUAL 0)
  message(FATAL_ERROR "gzip ${archive_changelog} failed: ${gzip_status}")
endif()
install(FILES packaging/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
