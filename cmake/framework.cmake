# vorn_find_framework(ROOT LIBDIR...): the libraries of the framework installed
# in ROOT, as the variables vorn_debugs and vorn_foundations. If one is missing,
# the variable vorn_framework_missing says so. The build and the installed
# package have this in common.
function(vorn_find_framework root)
  set(vorn_framework_missing "" PARENT_SCOPE)
  foreach(library debugs foundations)
    find_library(path ${library}
      PATHS "${root}"
      PATH_SUFFIXES ${ARGN} "lib/${CMAKE_LIBRARY_ARCHITECTURE}" lib
      NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    if(NOT path)
      string(CONCAT message "The framework in ${root} lacks the library "
        "${library}: VORN_FRAMEWORK_ROOT is to be where it is installed.")
      set(vorn_framework_missing "${message}" PARENT_SCOPE)
    endif()
    set(vorn_${library} "${path}" PARENT_SCOPE)
    unset(path)
  endforeach()
endfunction()
