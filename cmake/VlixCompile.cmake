# SPDX-License-Identifier: Apache-2.0
# Compiler settings shared by every target.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# -O3 without -march: hot loops are compiled in several versions and chosen at run time.
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
set(CMAKE_C_FLAGS_RELEASE "-O3 -DNDEBUG")

add_library(vlix_warnings INTERFACE)
target_compile_options(vlix_warnings INTERFACE -Wall -Wextra -Wconversion -Wshadow $<$<BOOL:${VLIX_WERROR}>:-Werror>)

# The order and width of floating-point operations is part of the contract of module and platform.
add_library(vlix_strict_floats INTERFACE)
target_compile_options(vlix_strict_floats INTERFACE -ffp-contract=off)

if(VLIX_SANITIZE)
  add_compile_options(-fsanitize=${VLIX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VLIX_SANITIZE})
endif()
