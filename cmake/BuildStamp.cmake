# vekssd_reproducible_date(source...): __DATE__ and __TIME__ in these files follow SOURCE_DATE_EPOCH.
#
# GCC, and Clang from 16 on, read SOURCE_DATE_EPOCH themselves. For an older Clang the two macros are
# set here, in the very form that the compiler gives them (the day padded with a blank).

function(vekssd_reproducible_date)
  if(NOT DEFINED ENV{SOURCE_DATE_EPOCH}
     OR NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang"
     OR CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 16)
    return()
  endif()
  string(TIMESTAMP date "%b %d %Y" UTC)
  string(REGEX REPLACE "^([A-Z][a-z]+) 0" "\\1  " date "${date}")
  string(TIMESTAMP time "%H:%M:%S" UTC)
  set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_OPTIONS
    -Wno-builtin-macro-redefined "-D__DATE__=\"${date}\"" "-D__TIME__=\"${time}\"")
endfunction()
