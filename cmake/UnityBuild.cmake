# The sanitizers' presets compile several files of a target as one (CMAKE_UNITY_BUILD): most of the time
# goes into the headers that these share.
#
# vekssd_compile_alone(file...): files of this folder that share names with others of their target and
# so can't be compiled as one with them.

function(vekssd_compile_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
