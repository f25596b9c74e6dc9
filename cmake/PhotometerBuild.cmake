# How this project compiles, and the helpers that make its targets.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
# Installed programs find the libraries beside them, wherever the tree was put.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

set(PHOTOMETER_SANITIZE "" CACHE STRING "Sanitizers, as after -fsanitize= (address,undefined or thread)")
option(PHOTOMETER_COVERAGE "Source-based coverage (clang only)" OFF)
option(PHOTOMETER_FAST_LINKER "Link with mold or lld when one is found" ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

# Every build gives the same bits: no contraction of floating-point expressions.
add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC bug 105651: g++ 12 reports an overlap inside operator+ of std::string that is not there.
  add_compile_options(-Wno-restrict)
endif()
# Checks of the standard library that leave its layout as it is; release builds go without.
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(PHOTOMETER_SANITIZE)
  add_compile_options(-fsanitize=${PHOTOMETER_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${PHOTOMETER_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The sanitizers' extra code confuses the flow analysis of g++; the other builds keep this warning.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
else()
  add_link_options(LINKER:--no-undefined)
endif()
if(PHOTOMETER_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
  set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)  # the same programs, and so the same runs, in every folder
endif()
if(PHOTOMETER_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()
if(PHOTOMETER_FAST_LINKER)
  find_program(MOLD_PROGRAM ld.mold)
  find_program(LLD_PROGRAM ld.lld)
  if(MOLD_PROGRAM)
    add_link_options(-fuse-ld=mold)
  elseif(LLD_PROGRAM)
    add_link_options(-fuse-ld=lld)
  endif()
endif()

# Sets <prefix>_SOURCES to the sources directly in the folders (relative to the current one).
function(photometer_sources prefix)
  set(patterns)
  foreach(folder IN LISTS ARGN)
    list(APPEND patterns "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp")
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  set(${prefix}_SOURCES "${sources}" PARENT_SCOPE)
endfunction()

# Links a target with those of the named libraries that exist; a room without sources has no target.
function(photometer_link target scope)
  foreach(library IN LISTS ARGN)
    if(library MATCHES "^photometer" AND NOT TARGET ${library})
      continue()
    endif()
    target_link_libraries(${target} ${scope} ${library})
  endforeach()
endfunction()

# A library of the given sources and libraries; nothing when there are no sources.
function(photometer_library name kind sources)
  if(NOT sources)
    return()
  endif()
  add_library(${name} ${kind} ${sources})
  add_library(Photometer::${name} ALIAS ${name})
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}/src>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${name} PUBLIC cxx_std_20)
  photometer_link(${name} PUBLIC ${ARGN})
endfunction()

# What every test that is run by ctest has in common.
set(PHOTOMETER_TEST_TIMEOUT 300 CACHE STRING "Seconds after which ctest ends a test program")
set(PHOTOMETER_SANITIZER_OPTIONS
  "UBSAN_OPTIONS=print_stacktrace=1"
  "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1"
  "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.suppressions")
function(photometer_test_properties test)
  set_tests_properties(${test} PROPERTIES
    TIMEOUT ${PHOTOMETER_TEST_TIMEOUT} ENVIRONMENT "${PHOTOMETER_SANITIZER_OPTIONS}")
endfunction()
