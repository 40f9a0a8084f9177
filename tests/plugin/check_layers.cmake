# Reads every #include "..." line of the plug-in's sources and fails, naming
# the file and line, when one points up a layer or sideways into another
# folder of the same layer. Run as:
#   cmake -DPLUGIN_DIR=<plugin folder> -P check_layers.cmake
#
# The layers, bottom to top. A folder not listed here is an error, so a new
# folder has to be given its place before it can hold code.
set(layer_frame 0)
set(layer_convert 1)
set(layer_status 2)
set(layer_keychain 2)
set(layer_search 2)
set(layer_lists 2)
set(layer_query 2)
set(layer_tables 3)

if(NOT PLUGIN_DIR)
  message(FATAL_ERROR "PLUGIN_DIR is not set")
endif()

file(GLOB_RECURSE sources RELATIVE ${PLUGIN_DIR} ${PLUGIN_DIR}/*.h ${PLUGIN_DIR}/*.cpp)
set(problems "")
set(checked 0)
foreach(source ${sources})
  get_filename_component(folder ${source} DIRECTORY)
  if(folder STREQUAL "")
    string(APPEND problems "${source}: a source file outside the layer folders\n")
    continue()
  endif()
  if(NOT DEFINED layer_${folder})
    string(APPEND problems "${source}: folder ${folder}/ has no layer\n")
    continue()
  endif()
  set(own ${layer_${folder}})
  file(STRINGS ${PLUGIN_DIR}/${source} lines)
  set(number 0)
  foreach(line IN LISTS lines)
    math(EXPR number "${number} + 1")
    if(line MATCHES "^[ \t]*#[ \t]*include[ \t]*\"([^\"/]+)/[^\"]*\"")
      set(target ${CMAKE_MATCH_1})
      math(EXPR checked "${checked} + 1")
      if(target STREQUAL folder)
        continue()
      endif()
      if(NOT DEFINED layer_${target})
        string(APPEND problems "${source}:${number}: includes from ${target}/, which has no layer\n")
      elseif(NOT layer_${target} LESS own)
        string(APPEND problems
               "${source}:${number}: ${folder}/ (layer ${own}) includes ${target}/ (layer ${layer_${target}}), "
               "which is not below it\n")
      endif()
    endif()
  endforeach()
endforeach()

if(NOT problems STREQUAL "")
  message(FATAL_ERROR "Includes that do not point down the layers:\n${problems}")
endif()
if(checked EQUAL 0)
  message(FATAL_ERROR "No includes found under ${PLUGIN_DIR}: nothing was checked")
endif()
message(STATUS "${checked} includes checked; every one points down the layers")
