# vekssd_hardening(target...): how code is compiled that runs as root on a till: stack and control flow
# are guarded, string functions checked, tables read-only once they are bound.
#
# These flags come after the user's. A level of _FORTIFY_SOURCE that the user or the compiler has set
# stays; the checks need an optimised build.

option(VEKSSD_HARDENING "Guard the stack, the control flow and string functions" ON)

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
set(hardening -fstack-protector-strong)
set(CMAKE_REQUIRED_FLAGS -Werror)  # a flag that is only warned of is not there
foreach(flag fcf-protection=full mbranch-protection=standard fstack-clash-protection)
  string(MAKE_C_IDENTIFIER "VEKSSD_HAS_${flag}" has)
  check_cxx_compiler_flag(-${flag} ${has})
  if(${has})
    list(APPEND hardening -${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
set(CMAKE_REQUIRED_FLAGS "${CMAKE_CXX_FLAGS_${type}}")
check_cxx_source_compiles("
#if !defined __OPTIMIZE__ || defined _FORTIFY_SOURCE && _FORTIFY_SOURCE >= 2
#error
#endif
int main() {}" VEKSSD_WANTS_FORTIFICATION)
unset(CMAKE_REQUIRED_FLAGS)
if(VEKSSD_WANTS_FORTIFICATION)
  list(APPEND hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
set(VEKSSD_HARDENING_FLAGS "${hardening}")

function(vekssd_hardening)
  if(VEKSSD_HARDENING)
    foreach(target IN LISTS ARGN)
      target_compile_options(${target} PRIVATE ${VEKSSD_HARDENING_FLAGS})
      target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now)
    endforeach()
  endif()
endfunction()
