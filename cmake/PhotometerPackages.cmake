# The Debian packages, one for each component of the installation.
#
# The programs need more than the library does (fmt, libedit), so they have a package of their own: on an
# instrument with its own host, libphotometer1 alone suffices, and it depends on nothing but libc and libstdc++. The
# manual pages of the files go with the programs: they have the same names in each version of the library, which could
# otherwise not be installed beside the next one.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "The photometer maintainers <maintainers@photometer.example>" CACHE STRING
  "Maintainer of the packages, name and mail address")
# Each component has its own first line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/FinishFolders.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/FinishRuntime.cmake")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(SAME_LIBRARY "libphotometer${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libphotometer${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "instrument-control library of a bench spectrophotometer
The library drives the optical unit and the sipper pumps of the instrument
over serial lines: measurements, wavelength scans, kinetics, turbidity, self
tests, lamps and pump runs. It delivers dark-corrected intensities to its
host.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libphotometer-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${SAME_LIBRARY}")
# Only the virtual board needs Boost; the examples need something to run against.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libboost-context-dev, photometer-tools")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "development files of the photometer library
Headers, CMake package, pkg-config file, guide and examples for hosts of the
photometer library, with the store of the instrument's settings, the virtual
board and the models of the instrument as static libraries.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME photometer-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${SAME_LIBRARY}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "gnuplot-nox | gnuplot")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "command-line host and simulator of a bench spectrophotometer
The program photometer runs every operation of the instrument from the command
line and gives results as tables, CSV, JSON and pictures of spectra; gnuplot
draws those. The program photometer-simulator serves a simulated instrument.")

include(CPack)
