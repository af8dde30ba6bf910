# An installed framework in place of the bundled stand-in: its headers come
# before ours, which hold the stand-in's as well.
foreach(library foundations debugs)
  find_library(VORN_${library}_LIBRARY ${library}
    PATHS "${VORN_FRAMEWORK_ROOT}"
    PATH_SUFFIXES "${CMAKE_INSTALL_LIBDIR}" lib
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  add_library(${library} SHARED IMPORTED)
  set_target_properties(${library} PROPERTIES
    IMPORTED_LOCATION "${VORN_${library}_LIBRARY}")
  target_include_directories(${library} BEFORE INTERFACE
    "${VORN_FRAMEWORK_ROOT}/include")
endforeach()
# The libraries' own dependency, which a link against foundations alone needs.
target_link_libraries(foundations INTERFACE debugs)
