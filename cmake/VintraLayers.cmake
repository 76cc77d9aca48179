# The layers. A library or program declares the libraries whose headers it includes; an include of another's is an
# error that names the file and the line, when the build is configured and again when a file has changed.
#
# A library owns the files of its folder. Where a subfolder is a library too, that one owns the subfolder's.

# vintra_layer(TARGET FOLDER folder | SOURCES file... [DEPENDS target...])
# FOLDER: the target owns what lies in the folder. SOURCES: it owns nothing, but its sources keep to the layers.
function(vintra_layer target)
  cmake_parse_arguments(ARG "" "FOLDER" "SOURCES;DEPENDS" ${ARGN})
  foreach(dependency ${ARG_DEPENDS})
    # What stands above isn't declared yet, so that layers can't form a circle.
    if(NOT TARGET ${dependency})
      message(FATAL_ERROR "${target} depends on ${dependency}, which is not declared before it")
    endif()
  endforeach()
  list(TRANSFORM ARG_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ REGEX "^[^/]")
  set_property(GLOBAL APPEND PROPERTY VINTRA_LAYERS ${target})
  set_property(GLOBAL PROPERTY VINTRA_LAYER_${target}_FOLDER ${ARG_FOLDER})
  set_property(GLOBAL PROPERTY VINTRA_LAYER_${target}_SOURCES ${ARG_SOURCES})
  set_property(GLOBAL PROPERTY VINTRA_LAYER_${target}_DEPENDS ${ARG_DEPENDS})
endfunction()

# For each layer a list of its files and of the folders that it may include from; a check of all of them now, and
# one that the build repeats before it compiles a changed file.
function(vintra_check_layers)
  get_property(layers GLOBAL PROPERTY VINTRA_LAYERS)
  set(folders)
  set(owners)
  foreach(layer ${layers})
    get_property(folder GLOBAL PROPERTY VINTRA_LAYER_${layer}_FOLDER)
    if(folder)
      list(APPEND folders ${folder})
      list(APPEND owners ${layer})
    endif()
  endforeach()
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/layers/owners.cmake @ONLY
       CONTENT "set(folders \"${folders}\")\nset(owners \"${owners}\")\n")
  include(${CMAKE_SOURCE_DIR}/cmake/CheckIncludes.cmake)

  file(GLOB_RECURSE files CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/Vintra/*.h ${CMAKE_SOURCE_DIR}/Vintra/*.cpp)
  foreach(file ${files})
    file(RELATIVE_PATH path ${CMAKE_SOURCE_DIR} ${file})
    vintra_owner_of(${path} owner)
    if(owner)
      set_property(GLOBAL APPEND PROPERTY VINTRA_LAYER_${owner}_SOURCES ${file})
    else()
      message(SEND_ERROR "${path} lies in the folder of no library")
    endif()
  endforeach()

  set(errors)
  foreach(layer ${layers})
    get_property(sources GLOBAL PROPERTY VINTRA_LAYER_${layer}_SOURCES)
    get_property(depends GLOBAL PROPERTY VINTRA_LAYER_${layer}_DEPENDS)
    if(NOT sources)
      continue()
    endif()
    list(REMOVE_DUPLICATES sources)
    set(list ${CMAKE_BINARY_DIR}/layers/${layer}.cmake)
    file(CONFIGURE OUTPUT ${list} @ONLY
         CONTENT "set(layer ${layer})\nset(depends \"${depends}\")\nset(sources \"${sources}\")\n")
    vintra_forbidden_includes(${layer} "${depends}" "${sources}" forbidden)
    string(APPEND errors "${forbidden}")
    vintra_check_when_changed(${layer} ${list} "${sources}")
  endforeach()
  if(errors)
    message(FATAL_ERROR "Includes outside of the declared dependencies:\n${errors}")
  endif()
endfunction()

function(vintra_check_when_changed layer list sources)
  set(stamp ${CMAKE_BINARY_DIR}/layers/${layer}.stamp)
  set(check ${CMAKE_SOURCE_DIR}/cmake/CheckIncludes.cmake)
  set(owners ${CMAKE_BINARY_DIR}/layers/owners.cmake)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -D root=${CMAKE_SOURCE_DIR} -D list=${list} -D owners=${owners} -D stamp=${stamp} -P ${check}
    DEPENDS ${sources} ${list} ${owners} ${check}
    COMMENT "Reading the includes of ${layer}" VERBATIM)
  add_custom_target(${layer}_includes DEPENDS ${stamp})
  add_dependencies(${layer} ${layer}_includes)
endfunction()

cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL vintra_check_layers)
