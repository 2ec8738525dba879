# Settings that hold for every target of the project.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release or Debug" FORCE)
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Assertions are part of the design: no build type defines NDEBUG.
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_RELEASE "-O2 -g")
  set(CMAKE_${language}_FLAGS_DEBUG "-O0 -g")
  string(REPLACE "-DNDEBUG" "" CMAKE_${language}_FLAGS_RELWITHDEBINFO
    "${CMAKE_${language}_FLAGS_RELWITHDEBINFO}")
  string(REPLACE "-DNDEBUG" "" CMAKE_${language}_FLAGS_MINSIZEREL
    "${CMAKE_${language}_FLAGS_MINSIZEREL}")
endforeach()

# Neither messages nor debug information carry the path of the machine that built them.
add_compile_options(
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/library/=")

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/archive")

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
