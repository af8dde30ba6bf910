# An installed framework in place of the bundled stand-in: the same targets.
include(cmake/framework.cmake)
vorn_find_framework("${VORN_FRAMEWORK_ROOT}" ${CMAKE_INSTALL_LIBDIR})
if(vorn_framework_missing)
  message(FATAL_ERROR "${vorn_framework_missing}")
endif()

# Not imported ones: their headers would be searched as those of the system,
# after ours, where the stand-in's lie as well.
foreach(library debugs foundations)
  add_library(vorn_${library} INTERFACE)
  add_library(Vorn::${library} ALIAS vorn_${library})
  target_link_libraries(vorn_${library} INTERFACE "${vorn_${library}}")
  target_include_directories(vorn_${library} INTERFACE
    "${VORN_FRAMEWORK_ROOT}/include")
endforeach()
# What a link against foundations alone needs.
target_link_libraries(vorn_foundations INTERFACE vorn_debugs)
