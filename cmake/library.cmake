# The library, twice: shared for programs, static for the tests and for those who want no shared one.

include(CheckCXXCompilerFlag)

set(kqutm_sources
    app/engine.cpp
    app/policy.cpp
    app/reset.cpp
    app/usage.cpp
    app/values.cpp
    av/channel.cpp
    av/lists.cpp
    av/operations.cpp
    av/records.cpp
    cf/controls.cpp
    cf/dump.cpp
    cf/kernel.cpp
    cf/mapping.cpp
    cf/policy.cpp
    cf/profile.cpp
    cf/switches.cpp
    cf/text_lists.cpp
    common/command_result.cpp
    common/debug.cpp
    common/engine.cpp
    common/local_socket.cpp
    common/log.cpp
    common/sigpipe_guard.cpp
    common/system_v.cpp
    common/uuid.cpp
    common/version.cpp
    devid/channel.cpp
    devid/controls.cpp
    devid/devices.cpp
    devid/records.cpp
    event/records.cpp
    event/response_list.cpp
    event/transport.cpp
    ips/channel.cpp
    ips/operations.cpp
    ips/records.cpp
    ips/rules.cpp
    ir/channel.cpp
    ir/lists.cpp
    ir/operations.cpp
    ir/records.cpp
    registry/ids.cpp
    registry/policies.cpp
    registry/segment.cpp)

add_library(kqutm_objects OBJECT ${kqutm_sources})
target_include_directories(kqutm_objects PUBLIC include PRIVATE .)
target_compile_definitions(kqutm_objects PRIVATE _GNU_SOURCE KQUTM_IPC_KEY_FILE="${KQUTM_IPC_KEY_FILE}")
# The build as `utmctl version` tells it. Nothing in it depends on where or when.
set(KQUTM_BUILD "${CMAKE_BUILD_TYPE}, ${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}")
if(KQUTM_SANITIZE)
  string(APPEND KQUTM_BUILD ", with sanitizers: ${KQUTM_SANITIZE}")
endif()
set_source_files_properties(common/version.cpp PROPERTIES COMPILE_DEFINITIONS
                                                          "KQUTM_VERSION=\"${PROJECT_VERSION}\";KQUTM_BUILD=\"${KQUTM_BUILD}\"")
target_compile_options(kqutm_objects PRIVATE -fno-exceptions -fno-rtti -fvisibility=hidden -ffunction-sections
                                             -fstack-protector-strong)
# It waits for daemons rather than compute: what -O3 adds is size.
target_compile_options(kqutm_objects PRIVATE $<$<CONFIG:Release>:-O2>)
# Calls of libc go straight through the table that the loader fills when the library is loaded, not by a stub. Elsewhere
# that would take the library's own functions out of the table too.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  target_compile_options(kqutm_objects PRIVATE -fno-plt)
endif()
# Memory is asked for with malloc at every level of optimisation, also where the compiler would turn it into calloc: who
# counts the library's allocations, or makes them fail, finds them in one place.
target_compile_options(kqutm_objects PRIVATE -fno-builtin-malloc)
target_link_libraries(kqutm_objects PRIVATE kqutm_warnings)
# The unnamed bytes of a request are zero. Compilers that would leave those of a union as they are have a flag for it.
check_cxx_compiler_flag(-fzero-init-padding-bits=unions KQUTM_HAS_ZERO_INIT_OF_UNIONS)
if(KQUTM_HAS_ZERO_INIT_OF_UNIONS)
  target_compile_options(kqutm_objects PRIVATE -fzero-init-padding-bits=unions)
endif()
if(NOT KQUTM_SANITIZE)
  target_compile_definitions(kqutm_objects PRIVATE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
endif()

if(KQUTM_COVERAGE)
  target_compile_options(kqutm_objects PRIVATE --coverage -O0 -U_FORTIFY_SOURCE)
  link_libraries(--coverage)
endif()

# The C driver links it, so that no C++ runtime gets in.
add_library(kqutm SHARED $<TARGET_OBJECTS:kqutm_objects>)
add_library(kqutm_static STATIC $<TARGET_OBJECTS:kqutm_objects>)
add_library(kqutm::kqutm ALIAS kqutm)
add_library(kqutm::kqutm_static ALIAS kqutm_static)
foreach(library kqutm kqutm_static)
  target_include_directories(${library} PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
                                               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set_target_properties(${library} PROPERTIES OUTPUT_NAME kqutm LINKER_LANGUAGE C
                                              ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}
                                              LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
endforeach()

# libkqutm.so is the file itself and the name with the version a link to it: the inode of libkqutm.so makes the keys of
# the shared memory, so it must not be a link that an upgrade points elsewhere.
set_target_properties(kqutm PROPERTIES NO_SONAME ON LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/libkqutm.map)
target_link_options(
  kqutm PRIVATE -Wl,-soname,libkqutm.so.1 -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/libkqutm.map
  -Wl,-Bsymbolic-functions -Wl,-z,relro,-z,now,-z,noexecstack -Wl,--gc-sections -Wl,--as-needed)
if(NOT KQUTM_SANITIZE)
  target_link_options(kqutm PRIVATE -Wl,--no-undefined)
endif()
add_custom_command(
  TARGET kqutm POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E create_symlink libkqutm.so libkqutm.so.1
  WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
  VERBATIM)
