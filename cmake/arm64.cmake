# Cross-compiles for the gateway's own processor with Debian's g++-aarch64-linux-gnu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# What is needed besides the compiler's own folder is unpacked there by `./dev arm64`.
get_filename_component(unpacked ${CMAKE_CURRENT_LIST_DIR}/../build-arm64/debian ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu ${unpacked})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${unpacked})
set(ENV{PKG_CONFIG_LIBDIR} ${unpacked}/usr/lib/aarch64-linux-gnu/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
