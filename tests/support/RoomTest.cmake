# vekssd_room_test(name SOURCES file... ROOMS room...): a white-box test of the library's rooms.
#
# The rooms' objects are linked in as they ship. What they ask of the system is answered by
# tests/support, to which the linker leads these calls.

set(VEKSSD_SEAM
  access close closedir fclose fcntl fopen fstat fwrite glob globfree ioctl open opendir
  pthread_create pthread_join pthread_mutex_lock pthread_rwlock_wrlock readdir sched_yield stat usleep)

function(vekssd_room_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;ROOMS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  # An object library carries no objects of the rooms that it depends on: each is named.
  list(TRANSFORM arg_ROOMS PREPEND "vekssd_")
  target_link_libraries(${name} PRIVATE ${arg_ROOMS} vekssd_test_support Threads::Threads)
  foreach(call IN LISTS VEKSSD_SEAM)
    target_link_options(${name} PRIVATE "-Wl,--wrap=${call}")
  endforeach()
  if("thread" IN_LIST VEKSSD_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # To what it takes for C++ it links operators new and delete that can't stand beside those of
    # Allocations.cpp.
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE C)
  endif()
  vekssd_warnings(${name})
  # Parsed once: most of the time that compiling these files took.
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h>)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
    PROPERTIES
      TIMEOUT 120
      ENVIRONMENT
        "LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0")
endfunction()
