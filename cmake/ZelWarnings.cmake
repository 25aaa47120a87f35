# Warnings are errors everywhere in our own code.
function(zel_target_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /WX)
  else()
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wshadow -Wconversion -Wsign-conversion -Werror)
  endif()
endfunction()
