# vorn_import_framework(ROOT LIBDIR INCLUDEDIR PREFIX MISSING): the targets
# debugs and foundations, behind the prefix, of the framework installed in ROOT.
# Without one of its libraries there are no targets, and the variable MISSING
# says so. The build and the installed package have this in common.
function(vorn_import_framework root libdir includedir prefix missing)
  set(${missing} "" PARENT_SCOPE)
  foreach(library debugs foundations)
    find_library(VORN_${library}_LIBRARY ${library}
      PATHS "${root}" PATH_SUFFIXES "${libdir}" lib
      NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT VORN_${library}_LIBRARY)
      set(${missing} "The framework in ${root} lacks the library ${library}."
        PARENT_SCOPE)
      return()
    endif()
  endforeach()
  foreach(library debugs foundations)
    add_library(${prefix}${library} SHARED IMPORTED)
    # Not as system headers: those are searched after all others.
    set_target_properties(${prefix}${library} PROPERTIES
      IMPORTED_LOCATION "${VORN_${library}_LIBRARY}" SYSTEM OFF)
    target_include_directories(${prefix}${library} INTERFACE
      "${root}/${includedir}")
  endforeach()
  # The libraries' own dependency, which a link against foundations alone needs.
  target_link_libraries(${prefix}foundations INTERFACE ${prefix}debugs)
endfunction()
