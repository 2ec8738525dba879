# Settings that hold for every target of the project.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
include(TestBigEndian)

# Formats of hours and addresses, and the drives' little-endian numbers, are written for this.
test_big_endian(VEKSSD_BIG_ENDIAN)
if(VEKSSD_BIG_ENDIAN OR NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "vekssdprov is for 64-bit little-endian machines, which ${CMAKE_SYSTEM_PROCESSOR} is not")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Assertions are part of the design, in every build type.
add_compile_options(-UNDEBUG)

# Neither messages nor debug information carry the path of the machine that built them.
check_cxx_compiler_flag(-ffile-prefix-map=/here=/there VEKSSD_HAS_FILE_PREFIX_MAP)
if(VEKSSD_HAS_FILE_PREFIX_MAP)
  add_compile_options(
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/library/=")
endif()

set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/archive")

# For packages that are to run on systems older than this compiler's C++ library; never in what a
# foreign process loads.
option(VEKSSD_STATIC_RUNTIME "Give ssdlife and its recorder a C++ library of their own" OFF)

set(THREADS_PREFER_PTHREAD_FLAG ON)
find_package(Threads REQUIRED)
