# What is built besides the library. A part is built by default where what it needs is installed; asked for explicitly,
# it must be there.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

find_package(CLI11 QUIET)
find_package(nlohmann_json QUIET)
find_package(GTest QUIET)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(smartcols QUIET IMPORTED_TARGET smartcols)
endif()
find_program(KQUTM_SCDOC scdoc)
mark_as_advanced(KQUTM_SCDOC)
set(scdoc_FOUND ${KQUTM_SCDOC})

# Declares an option that is on by default where every named package was found, and fails where it is asked for without.
function(kqutm_part option description)
  set(missing "")
  foreach(package IN LISTS ARGN)
    if(NOT ${package}_FOUND)
      list(APPEND missing ${package})
    endif()
  endforeach()
  if(NOT missing)
    option(${option} "${description}" ON)
  elseif(${option})
    message(FATAL_ERROR "${option} needs ${missing}: run './dev setup', or switch the option off")
  else()
    message(STATUS "${option} is off: ${missing} not found")
  endif()
endfunction()

kqutm_part(KQUTM_BUILD_SIMULATOR "Build utm-gateway, the simulated gateway" CLI11 nlohmann_json smartcols)
kqutm_part(KQUTM_BUILD_TOOLS "Build utmctl, the command" CLI11 nlohmann_json smartcols)
kqutm_part(KQUTM_BUILD_MANUALS "Build the manual pages" scdoc)
kqutm_part(KQUTM_BUILD_TESTS "Build the tests" CLI11 nlohmann_json smartcols GTest)
if(KQUTM_BUILD_TESTS AND NOT (KQUTM_BUILD_SIMULATOR AND KQUTM_BUILD_TOOLS))
  message(FATAL_ERROR "KQUTM_BUILD_TESTS needs KQUTM_BUILD_SIMULATOR and KQUTM_BUILD_TOOLS: the tests run both")
endif()

option(KQUTM_EMULATED_TESTS "Build the library's own tests, without what needs the programs; for another machine" OFF)

option(KQUTM_BUILD_BENCHMARKS "Build the benchmarks; needs Google Benchmark and valgrind's headers" OFF)
if(KQUTM_BUILD_BENCHMARKS AND NOT (KQUTM_BUILD_SIMULATOR AND KQUTM_BUILD_TOOLS))
  message(FATAL_ERROR "KQUTM_BUILD_BENCHMARKS needs KQUTM_BUILD_SIMULATOR and KQUTM_BUILD_TOOLS: it runs both")
endif()
option(KQUTM_BUILD_EXAMPLES "Build the example programs" ON)
set(KQUTM_NATIVE_BUILD "" CACHE PATH
    "Where examples are built for another machine: a build for this one, whose gateway runs them in the emulator")
option(KQUTM_BUILD_FUZZERS "Build the fuzzers; needs clang and its sanitizer fuzzer-no-link" OFF)
option(KQUTM_COVERAGE "Note which lines and branches of the library are run" OFF)
option(KQUTM_PACKAGES "Let cpack make the Debian packages" OFF)
option(KQUTM_WERROR "Treat warnings as errors" OFF)
set(KQUTM_SANITIZE "" CACHE STRING "Sanitizers, as in -fsanitize: address,undefined or thread")
set(KQUTM_IPC_KEY_FILE "/usr/lib/libkqutm.so" CACHE STRING
    "The file that makes the System V keys. Every process on a gateway has to use the same one")
