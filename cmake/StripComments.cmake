# Run by CPack on the staged files: takes the compiler's name out of the binaries.

file(GLOB_RECURSE files LIST_DIRECTORIES false "${CPACK_TEMPORARY_DIRECTORY}/*")
find_program(strip NAMES strip REQUIRED)
foreach(file IN LISTS files)
  if(NOT IS_SYMLINK "${file}")
    file(READ "${file}" magic LIMIT 4 HEX)
    if(magic STREQUAL "7f454c46")
      execute_process(COMMAND "${strip}" --strip-unneeded --remove-section=.comment
        --remove-section=.note "${file}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endif()
endforeach()
