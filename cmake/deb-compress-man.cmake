# CPack runs this in the package's staging folder before it builds the .deb: compress the
# manual pages with gzip -9n, as Debian's policy asks.
file(GLOB_RECURSE pages "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/share/man/*.[1-9]")
foreach(page IN LISTS pages)
  execute_process(COMMAND gzip -9nf ${page} RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "gzip ${page} failed: ${status}")
  endif()
endforeach()
