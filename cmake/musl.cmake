# Compiles for musl with Debian's musl-tools. The C driver links, and no C++ runtime is needed, so the compiler's own C++
# headers do; what they expect of glibc stands in musl/glibc_names.h.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # a C++ program cannot be linked

execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE version OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpmachine OUTPUT_VARIABLE machine OUTPUT_STRIP_TRAILING_WHITESPACE)
set(CMAKE_CXX_FLAGS_INIT -nostdinc)
foreach(folder c++/${version} ${machine}/c++/${version} x86_64-linux-musl)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem /usr/include/${folder}")
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem /usr/lib/gcc/${machine}/${version}/include"
       " -include ${CMAKE_CURRENT_LIST_DIR}/musl/glibc_names.h")
