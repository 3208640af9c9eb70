# Compiler settings that every target of the project shares.
option(KESTRIX_TESTS "Build the tests" ON)
option(KESTRIX_BENCH "Build the benchmarks" OFF)
option(KESTRIX_PYTHON "Build the Python module; needs pybind11 and NumPy" ${KESTRIX_TESTS})
option(KESTRIX_VIEW "Build the page of kestrix-tool view; needs Node.js" ON)
option(BUILD_SHARED_LIBS "Build shared libraries instead of static ones" OFF)
option(KESTRIX_STATIC "Link the programs statically: they run on any Linux" OFF)
option(KESTRIX_FUZZ "Build the fuzz targets; needs clang" OFF)
set(KESTRIX_SANITIZE "" CACHE STRING "Value of -fsanitize= for every target, empty for none")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

file(RELATIVE_PATH KESTRIX_SOURCE_FROM_BUILD ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
add_library(kestrix_options INTERFACE)
target_compile_options(kestrix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # Assertions print the source file: keep the folder of the build machine out of them, also where
  # a compiler cache makes paths relative.
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${KESTRIX_SOURCE_FROM_BUILD}=
  # The same numbers from every machine, whatever its instruction set.
  -ffp-contract=off
  -fstack-protector-strong
  -fstack-clash-protection
  $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>
  # GCC 12 sees overlaps in std::string's own copies where there are none.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
target_compile_definitions(kestrix_options INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
set(program_link $<IF:$<BOOL:${KESTRIX_STATIC}>,-static-pie,-pie>)
target_link_options(kestrix_options INTERFACE
  $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${program_link}>
  -Wl,-z,relro,-z,now)

if(KESTRIX_SANITIZE)
  add_compile_options(-fsanitize=${KESTRIX_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KESTRIX_SANITIZE})
  add_compile_definitions(KESTRIX_SANITIZED)
endif()
