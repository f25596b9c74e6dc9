# Installs the libraries, the headers, the CMake package, the pkg-config file and the manual pages.
#
# Headers of the host interface go to include/photometer. Those of the layer, the boards and the simulator's models, which
# only hosts that choose a board need, go below include/photometer-boards, a folder of the targets that use them.
include(CMakePackageConfigHelpers)

set(PACKAGE_FOLDER "${CMAKE_INSTALL_LIBDIR}/cmake/Photometer")
set(BOARD_FOLDER "${CMAKE_INSTALL_INCLUDEDIR}/photometer-boards")

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

install(TARGETS ${installed} EXPORT PhotometerTargets LIBRARY ARCHIVE)
install(EXPORT PhotometerTargets NAMESPACE Photometer:: DESTINATION "${PACKAGE_FOLDER}")

install(DIRECTORY include/photometer DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h")
foreach(room platform simulator settings logging)
  if(EXISTS "${CMAKE_SOURCE_DIR}/src/${room}")
    install(DIRECTORY "src/${room}" DESTINATION "${BOARD_FOLDER}" FILES_MATCHING PATTERN "*.h")
  endif()
endforeach()

configure_package_config_file(cmake/PhotometerConfig.cmake.in "${CMAKE_BINARY_DIR}/PhotometerConfig.cmake"
  INSTALL_DESTINATION "${PACKAGE_FOLDER}")
write_basic_package_version_file("${CMAKE_BINARY_DIR}/PhotometerConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/PhotometerConfig.cmake" "${CMAKE_BINARY_DIR}/PhotometerConfigVersion.cmake"
  DESTINATION "${PACKAGE_FOLDER}")

# The file finds the tree from its own place, so that the tree may be installed anywhere.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE PREFIX_FROM_PKGCONFIG)
configure_file(cmake/photometer.pc.in "${CMAKE_BINARY_DIR}/photometer.pc" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/photometer.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

foreach(section 1 3 5)
  file(GLOB pages CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/docs/man/*.${section}")
  if(pages)
    install(FILES ${pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}")
  endif()
endforeach()
