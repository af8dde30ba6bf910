# What other projects find an installed library by: the CMake package VornJson,
# and files for pkg-config. There is no absolute path in them, so that an
# installation can be moved.
include(CMakePackageConfigHelpers)

foreach(name CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
  if(IS_ABSOLUTE "${${name}}")
    message(FATAL_ERROR "${name} must be relative to the prefix: ${${name}}")
  endif()
endforeach()

set(directory "${CMAKE_INSTALL_LIBDIR}/cmake/VornJson")
set(config "${PROJECT_BINARY_DIR}/VornJsonConfig.cmake")
set(version "${PROJECT_BINARY_DIR}/VornJsonConfigVersion.cmake")
configure_package_config_file(
  cmake/VornJsonConfig.cmake.in "${config}" INSTALL_DESTINATION "${directory}"
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file("${version}" COMPATIBILITY SameMajorVersion)
install(FILES "${config}" "${version}" cmake/framework.cmake
  DESTINATION "${directory}" COMPONENT development)
install(EXPORT VornJson NAMESPACE Vorn:: FILE VornJsonTargets.cmake
  DESTINATION "${directory}" COMPONENT development)

# vorn_pkg_config(NAME COMPONENT LIBS DESCRIPTION)
function(vorn_pkg_config name component libs description)
  set(directory "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  string(REGEX REPLACE "[^/]+" ".." up "${directory}")
  set(file "${PROJECT_BINARY_DIR}/${name}.pc")
  configure_file(cmake/vorn.pc.in "${file}" @ONLY)
  install(FILES "${file}" DESTINATION "${directory}" COMPONENT ${component})
endfunction()

# A caller's own strings call the monitors, and its own exceptions the
# framework: it links all three libraries.
vorn_pkg_config(vorn-json development "-ljson -lfoundations -ldebugs"
  "${PROJECT_DESCRIPTION}")
if(NOT VORN_FRAMEWORK_ROOT)
  vorn_pkg_config(vorn-foundations framework-development
    "-lfoundations -ldebugs" "The framework's exception and string functions")
  vorn_pkg_config(vorn-debugs framework-development
    "-ldebugs" "The framework's monitors of objects and memory")
endif()
