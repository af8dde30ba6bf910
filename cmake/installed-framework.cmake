# An installed framework in place of the bundled stand-in.
foreach(library foundations debugs)
  find_library(VORN_${library}_LIBRARY ${library}
    PATHS "${VORN_FRAMEWORK_ROOT}"
    PATH_SUFFIXES "${CMAKE_INSTALL_LIBDIR}" lib
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(${library} SHARED IMPORTED)
  # Not as system headers: those are searched after all others.
  set_target_properties(${library} PROPERTIES
    IMPORTED_LOCATION "${VORN_${library}_LIBRARY}" SYSTEM OFF)
  target_include_directories(${library} INTERFACE
    "${VORN_FRAMEWORK_ROOT}/include")
endforeach()
# The libraries' own dependency, which a link against foundations alone needs.
target_link_libraries(foundations INTERFACE debugs)

# Once our targets are there, the framework's headers come before ours, where
# the stand-in's lie as well.
function(vorn_prefer_installed_framework)
  foreach(target json_objects json json_static)
    target_include_directories(${target} BEFORE PUBLIC
      "$<BUILD_INTERFACE:${VORN_FRAMEWORK_ROOT}/include>")
  endforeach()
endfunction()
cmake_language(DEFER CALL vorn_prefer_installed_framework)
