set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(kqutm_warnings INTERFACE)
# Leaving fields out of an initialiser is the point of it: the fields named are the operation, the rest is zero.
target_compile_options(kqutm_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wno-missing-field-initializers
                                                $<$<BOOL:${KQUTM_WERROR}>:-Werror>)

if(KQUTM_SANITIZE)
  add_compile_options(-fsanitize=${KQUTM_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KQUTM_SANITIZE})
endif()

# In a folder that calls it, Release is compiled with less effort: its programs wait more than they compute.
macro(kqutm_compile_with effort)
  string(REPLACE -O3 ${effort} CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")
endmacro()
