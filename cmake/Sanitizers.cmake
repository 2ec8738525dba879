# VEKSSD_SANITIZE: the sanitizers that everything is built with, as in "address;undefined" or
# "thread". VEKSSD_COVERAGE: count the executed lines and branches. VEKSSD_BUILD_FUZZERS: prepare the
# code for libFuzzer, which wants Clang.
#
# All three apply to every target: a sanitizer sees only what was compiled for it.

set(VEKSSD_SANITIZE "" CACHE STRING "Sanitizers to build with, separated by semicolons")
option(VEKSSD_COVERAGE "Instrument the code for coverage" OFF)
option(VEKSSD_BUILD_FUZZERS "Build the fuzzers (Clang only)" OFF)

# For tests that load the library. What it keeps on purpose, its log and settings, is counted by name in
# ordinary builds; a leak checker can't name it once the library has left the process.
set(VEKSSD_LIBRARY_KEEPS_MEMORY
  ENVIRONMENT_MODIFICATION "ASAN_OPTIONS=path_list_append:detect_leaks=0")

if(VEKSSD_SANITIZE)
  list(JOIN VEKSSD_SANITIZE "," sanitizers)
  # A report names functions and lines: more debug information would only cost time.
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${sanitizers})
endif()

if(VEKSSD_COVERAGE)
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

if(VEKSSD_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "VEKSSD_BUILD_FUZZERS wants Clang: it brings libFuzzer")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
