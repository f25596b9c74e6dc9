# Installs the libraries, the headers, the CMake package, the pkg-config file, the manual pages, guides and examples, in
# three components:
#
# runtime      what an installed host needs: the two shared libraries
# development  what compiling a host needs
# tools        the programs and what belongs to them
#
# Headers of the host interface go to include/photometer. Those of the layer, the boards and the simulator's models, which
# only hosts that choose a board need, go below include/photometer-boards, a folder of the targets that use them.
include(CMakePackageConfigHelpers)

set(PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Photometer")
set(BOARD_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/photometer-boards")
# One folder for all components; the packages add theirs for changelog and copyright.
set(DOCUMENT_FOLDER "${CMAKE_INSTALL_DATADIR}/doc/photometer")

set(installed)
foreach(library
    photometer photometer_platform photometer_virtual photometer_simulator photometer_settings photometer_logging)
  if(TARGET ${library})
    list(APPEND installed ${library})
    if(NOT library STREQUAL "photometer")
      target_include_directories(${library} PUBLIC $<INSTALL_INTERFACE:${BOARD_FOLDER}>)
    endif()
  endif()
endforeach()
if(NOT TARGET photometer)
  return()
endif()

install(TARGETS ${installed} EXPORT PhotometerTargets
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
install(EXPORT PhotometerTargets NAMESPACE Photometer:: DESTINATION "${PACKAGE_FOLDER}" COMPONENT development)

# Those that hosts include, and all that these include themselves; the others are the sources' own.
set(BOARD_HEADERS)
function(photometer_take_headers)
  foreach(header IN LISTS ARGN)
    if(header IN_LIST BOARD_HEADERS OR NOT EXISTS "${CMAKE_SOURCE_DIR}/src/${header}")
      continue()
    endif()
    list(APPEND BOARD_HEADERS "${header}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/src/${header}")
    file(STRINGS "src/${header}" included REGEX "^#include \"")
    list(TRANSFORM included REPLACE "^#include \"([^\"]+)\".*" "\\1")
    photometer_take_headers(${included})
  endforeach()
  set(BOARD_HEADERS "${BOARD_HEADERS}" PARENT_SCOPE)
endfunction()
photometer_take_headers(platform/Board.h platform/Forwarding.h platform/Platform.h platform/TracingBoard.h
  platform/posix/PosixBoard.h platform/virtual/VirtualBoard.h logging/LogFiles.h)
install(DIRECTORY include/photometer DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY src/simulator DESTINATION "${BOARD_FOLDER}" COMPONENT development FILES_MATCHING PATTERN "*.h")
foreach(header IN LISTS BOARD_HEADERS)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES "src/${header}" DESTINATION "${BOARD_FOLDER}/${folder}" COMPONENT development)
endforeach()

configure_package_config_file(cmake/PhotometerConfig.cmake.in "${CMAKE_BINARY_DIR}/PhotometerConfig.cmake"
  INSTALL_DESTINATION "${PACKAGE_FOLDER}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/PhotometerConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/PhotometerConfig.cmake" "${CMAKE_BINARY_DIR}/PhotometerConfigVersion.cmake"
  DESTINATION "${PACKAGE_FOLDER}" COMPONENT development)

# The file finds the tree from its own place, so that the tree may be installed anywhere.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE PREFIX_FROM_PKGCONFIG)
configure_file(cmake/photometer.pc.in "${CMAKE_BINARY_DIR}/photometer.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/photometer.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# File formats; the pages of the programs are made by the programs, see apps/.
file(GLOB pages CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/docs/man/*.5")
install(FILES ${pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man5" COMPONENT tools)
install(FILES docs/results.md docs/exit-codes.md docs/board.example.toml docs/60-photometer.rules
  DESTINATION "${DOCUMENT_FOLDER}" COMPONENT tools)
install(FILES docs/host-guide.md docs/board-file.md DESTINATION "${DOCUMENT_FOLDER}" COMPONENT development)
install(DIRECTORY examples DESTINATION "${DOCUMENT_FOLDER}" COMPONENT development)
