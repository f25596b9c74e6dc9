# Run by CPack when the packages are made: the package of the shared libraries gets the trigger of the loader's cache, in
# place of the scripts that CPack writes for every package with such libraries.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(NOT package MATCHES "/${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}_[^/]*$")
    continue()
  endif()
  set(folder "${CPACK_TEMPORARY_DIRECTORY}/repacked")
  file(REMOVE_RECURSE "${folder}")
  execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
  file(WRITE "${folder}/DEBIAN/triggers" "activate-noawait ldconfig\n")
  execute_process(COMMAND dpkg-deb --root-owner-group --build "${folder}" "${package}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
