# Builds the two files that hold the moment of their build twice, at different times: with one
# SOURCE_DATE_EPOCH the objects are the same bytes, and they hold that moment.
#
#   cmake -DSOURCE=... -DWORK=... -DC_COMPILER=... -DCXX_COMPILER=... -DBUILD_TYPE=... -P <this file>

set(objects
  library/provider/CMakeFiles/vekssd_provider.dir/EntryPoints.cpp.o
  library/provider/CMakeFiles/vekssd_provider.dir/VersionData.cpp.o)

# Builds in one place, afresh, and notes what the objects are.
function(build name epoch)
  set(ENV{SOURCE_DATE_EPOCH} ${epoch})
  set(ENV{CCACHE_DISABLE} 1)
  file(REMOVE_RECURSE "${WORK}")
  set(configure -S "${SOURCE}" -B "${WORK}" -G Ninja
    "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
    "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" -DVEKSSD_BUILD_TESTS=OFF -DVEKSSD_BUILD_TOOLS=OFF
    -DVEKSSD_BUILD_SIMULATOR=OFF -DVEKSSD_BUILD_BENCHMARKS=OFF)
  set(compile --build "${WORK}" --target ${objects})
  foreach(arguments configure compile)
    execute_process(COMMAND "${CMAKE_COMMAND}" ${${arguments}}
      RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
      message(FATAL_ERROR "the build failed:\n${output}")
    endif()
  endforeach()
  set(sums "")
  foreach(object IN LISTS objects)
    file(SHA256 "${WORK}/${object}" sum)
    list(APPEND sums ${sum})
  endforeach()
  set(${name} "${sums}" PARENT_SCOPE)
endfunction()

build(later 1710000000)
build(first 1700000000)
file(STRINGS "${WORK}/library/provider/CMakeFiles/vekssd_provider.dir/VersionData.cpp.o" texts
  REGEX "Built at 22:13:20 on Nov 14 2023")
if(NOT texts)
  message(FATAL_ERROR "BuildDate doesn't hold the moment of SOURCE_DATE_EPOCH")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" -E sleep 1.1)  # a clock's next second
build(second 1700000000)

foreach(object one other afterwards IN ZIP_LISTS objects first second later)
  if(NOT one STREQUAL other)
    message(FATAL_ERROR "${object} differs between two builds with one SOURCE_DATE_EPOCH")
  endif()
  if(one STREQUAL afterwards)
    message(FATAL_ERROR "${object} doesn't hold the moment of its build")
  endif()
endforeach()
file(REMOVE_RECURSE "${WORK}")
