# Compile options shared by every target, and the one way in which a folder becomes a library.

include(${CMAKE_CURRENT_LIST_DIR}/VintraLayers.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/VintraUnity.cmake)

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(vintra_options INTERFACE)
target_include_directories(vintra_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(vintra_options INTERFACE
  -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
# A constructor's parameter may be named as the member that it fills; clang's check, unlike GCC's, knows that case.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(vintra_options INTERFACE -Wshadow=local)
  # Records are built with designated initialisers, which leave the rest at its defaults on purpose.
  target_compile_options(vintra_options INTERFACE -Wno-missing-field-initializers)
  # GCC 12 reports uninitialised members of coroutine frames that it has itself laid out.
  target_compile_options(vintra_options INTERFACE -Wno-maybe-uninitialized)
  # Optimised, GCC 12 takes the parts of a concatenated std::string for overlapping memory.
  target_compile_options(vintra_options INTERFACE -Wno-restrict)
  # Of sources that are compiled together, GCC takes each but the first for a header.
  if(VINTRA_UNITY STREQUAL "all")
    target_compile_options(vintra_options INTERFACE -Wno-subobject-linkage)
  endif()
elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(vintra_options INTERFACE -Wshadow)
  # PipeWire's calls are macros around statement expressions.
  target_compile_options(vintra_options INTERFACE -Wno-gnu-statement-expression-from-macro-expansion)
endif()
if(VINTRA_SANITIZE)
  target_compile_options(vintra_options INTERFACE -fsanitize=${VINTRA_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  target_link_options(vintra_options INTERFACE -fsanitize=${VINTRA_SANITIZE})
  # For a test that needs the memory functions or the speed of a plain build.
  target_compile_definitions(vintra_options INTERFACE VINTRA_SANITIZED)
endif()
if(VINTRA_THREAD_SAFETY)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "The thread-safety build needs clang")
  endif()
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wthread-safety> $<$<COMPILE_LANGUAGE:CXX>:-Wthread-safety-beta>)
endif()

# vintra_library(NAME [SOURCES file...] [DEPENDS target...] [SYSTEM target...])
# A static library of the current folder: of SOURCES or else of every .cpp. DEPENDS names the libraries that it
# includes and links; one that is not named can't be included (VintraLayers.cmake).
function(vintra_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;SYSTEM" ${ARGN})
  set(sources ${ARG_SOURCES})
  if(NOT sources)
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  endif()
  file(RELATIVE_PATH folder ${CMAKE_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  vintra_layer(${name} FOLDER ${folder} SOURCES ${sources} DEPENDS ${ARG_DEPENDS})
  if(NOT sources)
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE vintra_options ${ARG_DEPENDS})
    return()
  endif()
  add_library(${name} STATIC ${sources})
  vintra_compile_together(${name} library)
  target_link_libraries(${name} PUBLIC vintra_options Threads::Threads ${ARG_DEPENDS} PRIVATE ${ARG_SYSTEM})
endfunction()

# vintra_program(NAME SOURCES file... [DEPENDS target...] [SYSTEM target...])
# A program, which includes and links what DEPENDS names.
function(vintra_program name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;SYSTEM" ${ARGN})
  vintra_layer(${name} SOURCES ${ARG_SOURCES} DEPENDS ${ARG_DEPENDS})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE vintra_options ${ARG_DEPENDS} ${ARG_SYSTEM})
endfunction()
