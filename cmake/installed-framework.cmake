# An installed framework in place of the bundled stand-in.
include(cmake/framework.cmake)
vorn_import_framework("${VORN_FRAMEWORK_ROOT}"
  "${CMAKE_INSTALL_LIBDIR}" include vorn_ missing)
if(missing)
  message(FATAL_ERROR "${missing}")
endif()

# Once our targets are there, the framework's headers come before ours, where
# the stand-in's lie as well.
function(vorn_prefer_installed_framework)
  foreach(target vorn_json_objects vorn_json vorn_json_static)
    target_include_directories(${target} BEFORE PUBLIC
      "$<BUILD_INTERFACE:${VORN_FRAMEWORK_ROOT}/include>")
  endforeach()
endfunction()
cmake_language(DEFER CALL vorn_prefer_installed_framework)
