# Finds what the project links and names the Debian package to install where something is missing.
function(kestrix_find_library variable header library package)
  find_path(${variable}_INCLUDE ${header})
  find_library(${variable}_LIBRARY ${library})
  if(NOT ${variable}_INCLUDE OR NOT ${variable}_LIBRARY)
    message(FATAL_ERROR "${library} was not found: install the Debian package ${package} "
                        "(scripts/setup installs everything)")
  endif()
  add_library(${variable}_target INTERFACE)
  target_include_directories(${variable}_target SYSTEM INTERFACE ${${variable}_INCLUDE})
  target_link_libraries(${variable}_target INTERFACE ${${variable}_LIBRARY})
  set(${variable} ${variable}_target PARENT_SCOPE)
endfunction()

kestrix_find_library(KESTRIX_LIBDEFLATE libdeflate.h deflate libdeflate-dev)
kestrix_find_library(KESTRIX_ISAL isa-l/igzip_lib.h isal libisal-dev)

find_package(nlohmann_json QUIET)
if(NOT nlohmann_json_FOUND)
  message(FATAL_ERROR "nlohmann/json.hpp was not found: install the Debian package "
                      "nlohmann-json3-dev (scripts/setup installs everything)")
endif()
find_package(CLI11 QUIET)
if(NOT CLI11_FOUND)
  message(FATAL_ERROR "CLI/CLI.hpp was not found: install the Debian package libcli11-dev "
                      "(scripts/setup installs everything)")
endif()
find_program(KESTRIX_SCDOC scdoc)
if(NOT KESTRIX_SCDOC)
  message(FATAL_ERROR "scdoc was not found: install the Debian package scdoc "
                      "(scripts/setup installs everything)")
endif()

if(KESTRIX_VIEW)
  find_program(KESTRIX_NODE node)
  if(NOT KESTRIX_NODE)
    message(FATAL_ERROR "node was not found: install the Debian packages nodejs and npm "
                        "(scripts/setup installs everything), or configure with -DKESTRIX_VIEW=OFF")
  endif()
  if(NOT EXISTS ${PROJECT_SOURCE_DIR}/view/node_modules/.package-lock.json)
    message(FATAL_ERROR "The modules of the viewer are missing: run scripts/setup build (or npm ci "
                        "--ignore-scripts in view/), or configure with -DKESTRIX_VIEW=OFF")
  endif()
endif()

if(KESTRIX_PYTHON AND NOT KESTRIX_SANITIZE)
  # Debian's own interpreter first: others lack its packages.
  set(Python_FIND_STRATEGY LOCATION)
  if(NOT Python_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python_EXECUTABLE /usr/bin/python3)
  endif()
  find_package(Python 3.11 COMPONENTS Interpreter Development.Module QUIET)
  find_package(pybind11 2.10 CONFIG QUIET)
  if(NOT Python_FOUND OR NOT pybind11_FOUND)
    message(FATAL_ERROR "Python's headers or pybind11 were not found: install the Debian packages "
                        "python3-dev and pybind11-dev (scripts/setup installs everything), or "
                        "configure with -DKESTRIX_PYTHON=OFF")
  endif()
endif()

if(KESTRIX_TESTS)
  find_package(GTest QUIET)
  if(NOT GTest_FOUND)
    message(FATAL_ERROR "GoogleTest was not found: install the Debian package libgtest-dev "
                        "(scripts/setup installs everything)")
  endif()
  kestrix_find_library(KESTRIX_ASSIMP assimp/Importer.hpp assimp libassimp-dev)
endif()

if(KESTRIX_BENCH)
  find_package(benchmark QUIET)
  if(NOT benchmark_FOUND)
    message(FATAL_ERROR "Google Benchmark was not found: install the Debian package "
                        "libbenchmark-dev (scripts/setup installs everything)")
  endif()
  kestrix_find_library(KESTRIX_ZLIB zlib.h z zlib1g-dev)
endif()
