# vekssd_warnings(target...): the warnings that every target of the project is built with.

option(VEKSSD_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

function(vekssd_warnings)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      $<$<BOOL:${VEKSSD_WARNINGS_AS_ERRORS}>:-Werror>)
  endforeach()
endfunction()
