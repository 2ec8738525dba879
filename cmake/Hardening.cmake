# vekssd_library_code(target...): how code is compiled that ends up in libvekssdprov.so.
#
# It runs as root in somebody else's process: stack and control flow are guarded, string functions
# checked. A unique symbol (GNU's one-per-process objects) would pin the library for ever, so that
# its threads were never joined at dlclose.

include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection=full VEKSSD_HAS_CF_PROTECTION)
check_cxx_compiler_flag(-fstack-clash-protection VEKSSD_HAS_STACK_CLASH_PROTECTION)
check_cxx_compiler_flag(-fno-gnu-unique VEKSSD_HAS_NO_GNU_UNIQUE)
check_cxx_compiler_flag(-Wthread-safety VEKSSD_HAS_THREAD_SAFETY)

function(vekssd_library_code)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE
      -fstack-protector-strong
      $<$<BOOL:${VEKSSD_HAS_CF_PROTECTION}>:-fcf-protection=full>
      $<$<BOOL:${VEKSSD_HAS_STACK_CLASH_PROTECTION}>:-fstack-clash-protection>
      $<$<BOOL:${VEKSSD_HAS_NO_GNU_UNIQUE}>:-fno-gnu-unique>
      $<$<BOOL:${VEKSSD_HAS_THREAD_SAFETY}>:-Wthread-safety>
      $<$<CONFIG:Release>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  endforeach()
endfunction()
