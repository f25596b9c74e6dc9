# Run by CPack when the packages are made: the package of the shared libraries gets the trigger of the loader's cache, in
# place of the scripts that CPack writes for every package with such libraries, and its true size: CPack counts a link as
# the file behind it.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "/${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}_[^/]*$")
    continue()
  endif()
  set(folder "${CPACK_TEMPORARY_DIRECTORY}/repacked")
  file(REMOVE_RECURSE "${folder}")
  execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
  file(WRITE "${folder}/DEBIAN/triggers" "activate-noawait ldconfig\n")
  # As Debian's own tools do: KiB of each file, rounded up, and one for each folder and link.
  file(GLOB_RECURSE entries LIST_DIRECTORIES true RELATIVE "${folder}" "${folder}/usr/*")
  list(LENGTH entries size)
  foreach(entry IN LISTS entries)
    if(NOT IS_DIRECTORY "${folder}/${entry}" AND NOT IS_SYMLINK "${folder}/${entry}")
      file(SIZE "${folder}/${entry}" bytes)
      math(EXPR size "${size} + (${bytes} + 1023) / 1024 - 1")
    endif()
  endforeach()
  file(READ "${folder}/DEBIAN/control" control)
  string(REGEX REPLACE "Installed-Size: [0-9]+" "Installed-Size: ${size}" control "${control}")
  file(WRITE "${folder}/DEBIAN/control" "${control}")
  execute_process(COMMAND dpkg-deb --root-owner-group --build "${folder}" "${package}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
