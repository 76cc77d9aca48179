# Finds the includes of a library that lie outside of its declared dependencies. Included by the configuration, which
# checks every library; run as a script by the build for a library of which a file has changed.
#
# Includes are read by their text, whatever is compiled of them: one behind an `#if` counts too.

if(CMAKE_SCRIPT_MODE_FILE)
  cmake_minimum_required(VERSION 3.25)
  set(CMAKE_SOURCE_DIR ${root})
endif()

# The library in whose folder a path of the source tree lies: the longest folder that leads to it.
# Reads the lists `folders` and `owners`, which belong together.
function(vintra_owner_of path result)
  set(longest 0)
  set(found)
  foreach(folder owner IN ZIP_LISTS folders owners)
    string(LENGTH "${folder}/" length)
    string(FIND "${path}" "${folder}/" place)
    if(place EQUAL 0 AND length GREATER longest)
      set(longest ${length})
      set(found ${owner})
    endif()
  endforeach()
  set(${result} "${found}" PARENT_SCOPE)
endfunction()

# The path of the source tree that an include names: beside the file that has it, or from the root as the compiler
# looks for it.
function(vintra_included_path file name result)
  cmake_path(GET file PARENT_PATH folder)
  cmake_path(APPEND folder ${name} OUTPUT_VARIABLE path)
  cmake_path(NORMAL_PATH path)
  if(NOT EXISTS ${CMAKE_SOURCE_DIR}/${path})
    set(path ${name})
    cmake_path(NORMAL_PATH path)
  endif()
  set(${result} ${path} PARENT_SCOPE)
endfunction()

# One line "file:line: what is wrong" for each forbidden include of the sources.
function(vintra_forbidden_includes layer depends sources result)
  set(forbidden)
  execute_process(COMMAND grep -nHE "^[[:space:]]*(#|%:)[[:space:]]*(include|import|include_next)" ${sources}
                  OUTPUT_VARIABLE text RESULT_VARIABLE code)
  if(code GREATER 1)
    message(FATAL_ERROR "The sources of ${layer} can't be read")
  endif()
  # What would be more than a character in a list of CMake's.
  string(REGEX REPLACE "[][;\\]" "?" text "${text}")
  string(REPLACE "\n" ";" lines "${text}")
  foreach(line ${lines})
    string(REGEX MATCH "^([^:]*):([0-9]+):(.*)$" matched "${line}")
    cmake_path(RELATIVE_PATH CMAKE_MATCH_1 BASE_DIRECTORY ${CMAKE_SOURCE_DIR} OUTPUT_VARIABLE file)
    set(place "  ${file}:${CMAKE_MATCH_2}:")
    if(NOT CMAKE_MATCH_3 MATCHES "(include|import|include_next)[ \t]*[\"<]([^\">]+)[\">]")
      string(APPEND forbidden "${place} an include that names no file\n")
      continue()
    endif()
    set(name ${CMAKE_MATCH_2})
    vintra_included_path(${file} ${name} path)
    vintra_owner_of(${path} owner)
    if(owner)
      if(NOT owner STREQUAL layer AND NOT owner IN_LIST depends)
        string(APPEND forbidden "${place} ${layer} may not include ${name}, which belongs to ${owner}\n")
      endif()
    elseif(EXISTS ${CMAKE_SOURCE_DIR}/${path})
      string(APPEND forbidden "${place} ${layer} may not include ${name}, which belongs to no library\n")
    endif()
  endforeach()
  set(${result} "${forbidden}" PARENT_SCOPE)
endfunction()

if(CMAKE_SCRIPT_MODE_FILE)
  include(${owners})
  include(${list})
  vintra_forbidden_includes(${layer} "${depends}" "${sources}" forbidden)
  if(forbidden)
    message(FATAL_ERROR "Includes outside of the declared dependencies:\n${forbidden}")
  endif()
  file(TOUCH ${stamp})
endif()
