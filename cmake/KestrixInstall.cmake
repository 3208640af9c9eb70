# What `cmake --install` puts in place, and the packages that CPack makes of it. Component Runtime
# is the programs and what their users read, component Development what projects that use the
# libraries need. Everything that is installed is listed here.
include(CMakePackageConfigHelpers)

# The programs. With shared libraries they look for them beside themselves, wherever that is.
set(KESTRIX_PROGRAMS kestrix kestrix-tool)
# The libraries, under the names that other projects call them by: kestrix::bt and so on.
set(KESTRIX_LIBRARIES kestrix_bt kestrix_ba kestrix_fbx kestrix_main)
set_target_properties(kestrix_bt PROPERTIES EXPORT_NAME bt)
set_target_properties(kestrix_ba PROPERTIES EXPORT_NAME ba)
set_target_properties(kestrix_fbx PROPERTIES EXPORT_NAME fbx)
set_target_properties(kestrix_main PROPERTIES EXPORT_NAME convert OUTPUT_NAME kestrix_convert)
# The steps of a conversion that other projects may take: <kestrix/convert/scene.h> and so on.
set(KESTRIX_CONVERT_HEADERS main/scene.h main/usedup.h main/save.h)

set_target_properties(${KESTRIX_PROGRAMS} ${KESTRIX_LIBRARIES} PROPERTIES
  INSTALL_RPATH "$<$<BOOL:${BUILD_SHARED_LIBS}>:$ORIGIN/../${CMAKE_INSTALL_LIBDIR};$ORIGIN>")
# Until version 1 a new minor version may change the interface.
set_target_properties(${KESTRIX_LIBRARIES} PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
target_compile_features(kestrix_bt PUBLIC cxx_std_20)

install(TARGETS ${KESTRIX_PROGRAMS} COMPONENT Runtime)
install(TARGETS ${KESTRIX_LIBRARIES} EXPORT kestrix-targets
  ARCHIVE COMPONENT Development
  LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development)
install(FILES ${KESTRIX_CONVERT_HEADERS} COMPONENT Development
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrix/convert)
install(DIRECTORY libs/include/ COMPONENT Development
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kestrix)

# CMake package and pkg-config file. Both find the installed tree from where they stand in it.
set(cmake_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kestrix)
configure_package_config_file(cmake/kestrix-config.cmake.in kestrix-config.cmake
  INSTALL_DESTINATION ${cmake_folder} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(kestrix-config-version.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT kestrix-targets NAMESPACE kestrix:: COMPONENT Development
  DESTINATION ${cmake_folder})
install(FILES ${PROJECT_BINARY_DIR}/kestrix-config.cmake
              ${PROJECT_BINARY_DIR}/kestrix-config-version.cmake
  COMPONENT Development DESTINATION ${cmake_folder})
set(KESTRIX_PC_PRIVATE $<$<NOT:$<BOOL:${BUILD_SHARED_LIBS}>>:-ldeflate\ -lisal>)
file(RELATIVE_PATH KESTRIX_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" KESTRIX_PC_PREFIX ${KESTRIX_PC_PREFIX})
configure_file(cmake/kestrix.pc.in kestrix.pc.in @ONLY)
file(GENERATE OUTPUT kestrix.pc INPUT ${PROJECT_BINARY_DIR}/kestrix.pc.in)
install(FILES ${PROJECT_BINARY_DIR}/kestrix.pc COMPONENT Development
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# What people read; the pages name each other by their places here.
install(FILES README.md CHANGELOG.md COMPONENT Runtime DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES cmake/copyright COMPONENT Runtime DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES cmake/copyright COMPONENT Development
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/libkestrix-dev)
install(DIRECTORY docs COMPONENT Runtime DESTINATION ${CMAKE_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.png" PATTERN "*.json" PATTERN man EXCLUDE)
install(DIRECTORY samples COMPONENT Runtime DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The workflow that builds deliveries, as docs/delivery.md tells.
install(DIRECTORY share/delivery COMPONENT Runtime USE_SOURCE_PERMISSIONS
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/kestrix PATTERN __pycache__ EXCLUDE)

# The add-on that imports characters into Blender, as docs/readers.md tells.
install(FILES share/blender/kestrix_import.py COMPONENT Runtime
  DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/kestrix/blender)

# Manual pages and completion scripts, as kestrix_help has made them. Each by its name: where it was
# not made, installing fails, and no folder comes out empty.
foreach(program ${KESTRIX_PROGRAMS})
  foreach(file man/man1/${program}.1 bash-completion/completions/${program}
               zsh/site-functions/_${program})
    cmake_path(GET file PARENT_PATH folder)
    install(FILES ${PROJECT_BINARY_DIR}/share/${file} COMPONENT Runtime
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/${folder})
  endforeach()
endforeach()

# The Python package, where Debian's Python looks for those of packages. Under /usr/local it looks in
# lib/python3.11/dist-packages; an environment of its own has lib/python3.11/site-packages.
if(TARGET kestrix_python)
  set(KESTRIX_PYTHON_DIR lib/python3/dist-packages CACHE STRING
    "Where the Python package is installed, below the prefix")
  set_target_properties(kestrix_python PROPERTIES INSTALL_RPATH
    "$<$<BOOL:${BUILD_SHARED_LIBS}>:$ORIGIN/../../../../${CMAKE_INSTALL_LIBDIR}>")
  install(TARGETS kestrix_python COMPONENT Python
    LIBRARY DESTINATION ${KESTRIX_PYTHON_DIR}/kestrix)
  install(DIRECTORY python/kestrix COMPONENT Python DESTINATION ${KESTRIX_PYTHON_DIR}
    PATTERN __pycache__ EXCLUDE PATTERN .mypy_cache EXCLUDE)
  set(python_docs ${CMAKE_INSTALL_DATAROOTDIR}/doc/python3-kestrix)
  install(FILES cmake/copyright COMPONENT Python DESTINATION ${python_docs})
  install(DIRECTORY examples COMPONENT Python DESTINATION ${python_docs}
    PATTERN __pycache__ EXCLUDE)
endif()

# Debian packages, one for each component, and one archive of everything.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME kestrix)
set(CPACK_PACKAGE_VENDOR "Vemra Studios")
set(KESTRIX_MAINTAINER "Vemra Studios <kestrix@vemra.example>" CACHE STRING
  "Who is named in packages as their maintainer")
set(CPACK_PACKAGE_CONTACT ${KESTRIX_MAINTAINER})
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET kestrix_python)
  list(APPEND CPACK_COMPONENTS_ALL Python)
endif()
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME kestrix)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "converter from motion-capture characters to FBX
kestrix reads a character model (.mdl) and the mapping of its degrees of
freedom (.dof) and writes one FBX file with skeleton, bind pose, skinned
meshes, materials and textures. kestrix-tool tells what such files hold,
checks and compares them.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Called for compressed models and mappings.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "gzip, ncompress")
# Runs the workflow.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "snakemake")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkestrix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "libraries of the kestrix converter, for development
Headers, libraries, CMake package and pkg-config file of the libraries
that kestrix is made of: character models and mappings, their readers,
writers and edits, FBX scenes, and the conversion between them.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libdeflate-dev, libisal-dev")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kestrix)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "character models and motion of kestrix in Python
The module kestrix reads, edits, poses and writes character models, the
mappings of their degrees of freedom and captured motion, with geometry
as NumPy arrays, and has the programs kestrix and kestrix-tool as
functions.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "gzip, ncompress")
if(BUILD_SHARED_LIBS)
  string(APPEND CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS ", kestrix (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "kestrix (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
endif()
include(CPack)
