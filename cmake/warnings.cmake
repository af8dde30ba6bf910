# The warnings of the project's own targets.
function(vorn_target_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  # With a sanitizer, GCC takes members of its own std::regex for uninitialized.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
  if(VORN_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
