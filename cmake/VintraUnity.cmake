# Compiling the sources of a folder together, which takes a fraction of the time: what headers and templates cost is
# paid once for all of them. What two of them keep to themselves must then have different names.
#
# VINTRA_UNITY is empty where each source is compiled alone, as for the thread-safety check: so a missing include is seen.

set(VINTRA_UNITY "" CACHE STRING "What to compile folder by folder: nothing (empty), 'tests' or 'all'")
set_property(CACHE VINTRA_UNITY PROPERTY STRINGS "" tests all)

# The most sources of one compilation: it takes memory for all of them.
set(VINTRA_UNITY_SOURCES 16)

# vintra_compile_together(TARGET KIND): KIND is "library" or "tests".
function(vintra_compile_together target kind)
  if(VINTRA_UNITY STREQUAL "all" OR VINTRA_UNITY STREQUAL kind)
    set_property(GLOBAL APPEND PROPERTY VINTRA_UNITY_TARGETS ${target})
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP DISABLE_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# Once every target has all of its sources: those of a folder become groups.
function(vintra_group_sources)
  get_property(targets GLOBAL PROPERTY VINTRA_UNITY_TARGETS)
  foreach(target ${targets})
    get_target_property(sources ${target} SOURCES)
    get_target_property(base ${target} SOURCE_DIR)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    list(TRANSFORM sources PREPEND ${base}/ REGEX "^[^/]")
    list(SORT sources)
    set(count 0)
    set(folder)
    foreach(source ${sources})
      cmake_path(GET source PARENT_PATH parent)
      if(NOT parent STREQUAL folder)
        set(folder ${parent})
        set(count 0)
      endif()
      math(EXPR part "${count} / ${VINTRA_UNITY_SOURCES}")
      math(EXPR count "${count} + 1")
      cmake_path(RELATIVE_PATH parent BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
      string(MAKE_C_IDENTIFIER "${parent}_${part}" group)
      set_source_files_properties(${source} TARGET_DIRECTORY ${target} PROPERTIES UNITY_GROUP ${group})
    endforeach()
  endforeach()
endfunction()

cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL vintra_group_sources)
