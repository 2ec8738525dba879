# vekssd_room(NAME SOURCES file... [USES room...]): a room of the library, as the objects of the target
# vekssd_NAME. The global property VEKSSD_ROOMS lists the rooms, each after those that it may use.
#
# vekssd_library_code(target...): how code is compiled that ends up in libvekssdprov.so.

check_cxx_compiler_flag(-fno-gnu-unique VEKSSD_HAS_NO_GNU_UNIQUE)

function(vekssd_library_code)
  vekssd_hardening(${ARGN})
  if(VEKSSD_HAS_NO_GNU_UNIQUE)
    # A unique symbol (GNU's one-per-process objects) would pin the library for ever, so that its
    # threads were never joined at dlclose.
    foreach(target IN LISTS ARGN)
      target_compile_options(${target} PRIVATE -fno-gnu-unique)
    endforeach()
  endif()
endfunction()

function(vekssd_room name)
  cmake_parse_arguments(PARSE_ARGV 1 room "" "" "SOURCES;USES")
  add_library(vekssd_${name} OBJECT ${room_SOURCES})
  target_include_directories(vekssd_${name} PUBLIC "${PROJECT_SOURCE_DIR}/library")
  list(TRANSFORM room_USES PREPEND vekssd_)
  target_link_libraries(vekssd_${name} PUBLIC ${room_USES} Threads::Threads)
  vekssd_warnings(vekssd_${name})
  vekssd_library_code(vekssd_${name})
  set_property(GLOBAL APPEND PROPERTY VEKSSD_ROOMS ${name})
endfunction()
