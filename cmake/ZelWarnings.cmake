# Warnings are errors everywhere in our own code.
function(zel_target_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX)
  else()
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Werror)
    # GCC 12 at -O3 reports -Wrestrict inside std::string concatenation
    # that cannot overlap (a known false positive of that release).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
      target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
  endif()
endfunction()
