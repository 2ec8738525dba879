# Included before project(), which fills in what is not set: the flags of the build types stand here
# unless the command line, or the cache, has others.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or what a packager has")
endif()
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_RELEASE "-O2 -g" CACHE STRING "Flags of release builds")
  set(CMAKE_${language}_FLAGS_DEBUG "-O0 -g" CACHE STRING "Flags of debug builds")
endforeach()
