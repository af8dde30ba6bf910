# What is installed, in components, and what other projects find it by: the CMake
# package VornJson, and files for pkg-config. There is no absolute path in them
# but that of a framework in another place, so that an installation can be moved.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

foreach(name CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
  if(IS_ABSOLUTE "${${name}}")
    message(FATAL_ERROR "${name} must be relative to the prefix: ${${name}}")
  endif()
endforeach()

# Named after the prefix that is given when it is installed.
set(gdb "${CMAKE_INSTALL_DATAROOTDIR}/gdb/auto-load")
string(APPEND gdb "\${vorn_prefix}/${CMAKE_INSTALL_LIBDIR}")
set(cmake_package "${CMAKE_INSTALL_LIBDIR}/cmake/VornJson")
set(pkg_config "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# What folders are made: at the end of the file they become readable, whatever
# the umask.
string(CONFIGURE [[
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX NORMALIZE
  OUTPUT_VARIABLE vorn_prefix)
set(vorn_made "")
foreach(folder @CMAKE_INSTALL_BINDIR@ @CMAKE_INSTALL_DOCDIR@ @gdb@
    @CMAKE_INSTALL_INCLUDEDIR@/foundation @CMAKE_INSTALL_MANDIR@/man1
    @CMAKE_INSTALL_DATADIR@/bash-completion/completions
    @cmake_package@ @pkg_config@)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
  set(folder "$ENV{DESTDIR}${folder}")
  while(folder AND NOT EXISTS "${folder}")
    list(APPEND vorn_made "${folder}")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endforeach()]] code @ONLY)
install(CODE "${code}" ALL_COMPONENTS)

install(TARGETS vorn_json EXPORT VornJson
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/foundation/json"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/foundation" COMPONENT development)
# Where gdb looks when it loads the library.
install(FILES "${PROJECT_SOURCE_DIR}/gdb/libjson-gdb.py"
  DESTINATION "${gdb}" COMPONENT development
  RENAME "libjson.so.${PROJECT_VERSION}-gdb.py")

# The stand-in, in components of its own: a framework may take its place.
if(NOT VORN_FRAMEWORK_ROOT)
  install(TARGETS vorn_debugs vorn_foundations
    LIBRARY COMPONENT framework NAMELINK_COMPONENT framework-development)
  foreach(folder debug generic io lang text)
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/foundation/${folder}"
      DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/foundation"
      COMPONENT framework-development)
  endforeach()
endif()

# The tool finds the libraries beside it.
if(VORN_BUILD_TOOLS)
  set_target_properties(vorn_vjson PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS vorn_vjson RUNTIME COMPONENT tool)
  install(FILES "${PROJECT_BINARY_DIR}/tools/vjson.1"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool OPTIONAL)
  install(FILES "${PROJECT_SOURCE_DIR}/tools/vjson.bash"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    COMPONENT tool RENAME vjson)
endif()

# What there is to read, in the folders that it links to. What a project has as
# a part is documented by the project.
if(PROJECT_IS_TOP_LEVEL)
  install(FILES README.md SECURITY.md CHANGELOG.md LICENSE
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation)
  install(DIRECTORY abi bench doc
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
    FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN adapters EXCLUDE)
  install(DIRECTORY examples
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT documentation
    FILES_MATCHING PATTERN *.cpp PATTERN *.out)
endif()

set(config "${PROJECT_BINARY_DIR}/VornJsonConfig.cmake")
set(version "${PROJECT_BINARY_DIR}/VornJsonConfigVersion.cmake")
configure_package_config_file(
  cmake/VornJsonConfig.cmake.in "${config}" INSTALL_DESTINATION "${cmake_package}"
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${version}" COMPATIBILITY SameMajorVersion)
install(FILES "${config}" "${version}" cmake/framework.cmake
  DESTINATION "${cmake_package}" COMPONENT development)
install(EXPORT VornJson NAMESPACE Vorn:: FILE VornJsonTargets.cmake
  DESTINATION "${cmake_package}" COMPONENT development)

# vorn_pkg_config(NAME COMPONENT LIBS DESCRIPTION)
function(vorn_pkg_config name component libs description)
  string(REGEX REPLACE "[^/]+" ".." up "${pkg_config}")
  set(file "${PROJECT_BINARY_DIR}/${name}.pc")
  configure_file(cmake/vorn.pc.in "${file}" @ONLY)
  install(FILES "${file}" DESTINATION "${pkg_config}" COMPONENT ${component})
endfunction()

# A caller's own strings call the monitors, and its own exceptions the
# framework: it links all three libraries.
set(framework "")
set(headers "-I\${includedir}")
set(libraries "-L\${libdir}")
if(VORN_FRAMEWORK_ROOT)
  cmake_path(GET vorn_debugs PARENT_PATH folder)
  cmake_path(RELATIVE_PATH folder BASE_DIRECTORY "${VORN_FRAMEWORK_ROOT}")
  set(framework "framework=${VORN_FRAMEWORK_ROOT}\n")
  string(PREPEND headers "-I\${framework}/include ")
  string(PREPEND libraries "-L\${framework}/${folder} ")
endif()
vorn_pkg_config(vorn-json development
  "-ljson -lfoundations -ldebugs" "${PROJECT_DESCRIPTION}")
if(NOT VORN_FRAMEWORK_ROOT)
  vorn_pkg_config(vorn-foundations framework-development
    "-lfoundations -ldebugs" "The framework's exception and string functions")
  vorn_pkg_config(vorn-debugs framework-development
    "-ldebugs" "The framework's monitors of objects and memory")
endif()

install(CODE [[
foreach(folder IN LISTS vorn_made)
  if(EXISTS "${folder}")
    file(CHMOD "${folder}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
      GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()]] ALL_COMPONENTS)
