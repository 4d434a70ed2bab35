# What the library's tests need besides, where they are built for another machine: GoogleTest from its sources, and of the
# headers of this machine those of JSON alone.
set(GOOGLETEST_SOURCES /usr/src/googletest/googletest CACHE PATH "The sources of GoogleTest")

add_subdirectory(${GOOGLETEST_SOURCES} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
file(CREATE_LINK /usr/include/nlohmann ${CMAKE_BINARY_DIR}/headers/nlohmann SYMBOLIC)
add_library(nlohmann_json INTERFACE)
add_library(nlohmann_json::nlohmann_json ALIAS nlohmann_json)
target_include_directories(nlohmann_json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/headers)
