# Run by CPack between the installation into the packages' folders and the making of the archives: adds what only a
# Debian package has (copyright, changelog), compresses manual pages and changelog, and strips what was compiled. No byte
# depends on the time, so that the same sources give the same packages.
find_program(GZIP_PROGRAM gzip REQUIRED)
find_program(STRIP_PROGRAM strip REQUIRED)

function(compress)
  foreach(file IN LISTS ARGN)
    execute_process(COMMAND "${GZIP_PROGRAM}" --best --no-name --force "${file}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endfunction()

function(strip_files mode)
  foreach(file IN LISTS ARGN)
    if(NOT IS_SYMLINK "${file}")
      execute_process(COMMAND "${STRIP_PROGRAM}" ${mode} --remove-section=.comment --remove-section=.note
        --enable-deterministic-archives "${file}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" name)
  set(prefix "${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")
  set(documents "${prefix}/share/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME}")
  file(MAKE_DIRECTORY "${documents}")
  file(COPY_FILE "${CMAKE_CURRENT_LIST_DIR}/../COPYRIGHT" "${documents}/copyright")
  file(COPY_FILE "${CMAKE_CURRENT_LIST_DIR}/changelog" "${documents}/changelog")
  file(GLOB pages "${prefix}/share/man/man*/*.[1-9]")
  compress(${pages} "${documents}/changelog")
  file(GLOB programs "${prefix}/bin/*")
  file(GLOB_RECURSE shared "${prefix}/lib/*.so.*")
  file(GLOB_RECURSE static "${prefix}/lib/*.a")
  strip_files(--strip-all ${programs})
  strip_files(--strip-unneeded ${shared})
  strip_files(--strip-debug ${static})
endforeach()
