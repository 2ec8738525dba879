# vekssd_warnings(target...): the warnings that every target of the project is built with.

option(VEKSSD_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-Wthread-safety VEKSSD_HAS_THREAD_SAFETY)

function(vekssd_warnings)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Wconversion
      $<$<BOOL:${VEKSSD_HAS_THREAD_SAFETY}>:-Wthread-safety>
      $<$<BOOL:${VEKSSD_WARNINGS_AS_ERRORS}>:-Werror>)
  endforeach()
endfunction()
