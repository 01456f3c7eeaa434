# brindlemux_room(<name> FOLDER <folder below src/> HEADERS ... SOURCES ... LINK ... PRIVATE_LINK ...)
#
# Declares one room: the static library brindlemux_<name>. Its headers are reached as "<folder>/<header>" through an
# include folder of the room's own, so that a room sees its own headers and those of the rooms that it links, and an
# include against the direction of the arrows does not compile.
function(brindlemux_room name)
  cmake_parse_arguments(ROOM "" "FOLDER" "HEADERS;SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  set(include_root ${CMAKE_BINARY_DIR}/include/${name})
  file(REMOVE_RECURSE ${include_root})
  foreach(header IN LISTS ROOM_HEADERS)
    set(link ${include_root}/${ROOM_FOLDER}/${header})
    get_filename_component(link_folder ${link} DIRECTORY)
    file(MAKE_DIRECTORY ${link_folder})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${header} ${link} SYMBOLIC)
  endforeach()

  list(LENGTH ROOM_SOURCES source_count)
  if(source_count EQUAL 0)
    add_library(brindlemux_${name} INTERFACE)
    target_include_directories(brindlemux_${name} INTERFACE ${include_root})
    target_link_libraries(brindlemux_${name} INTERFACE ${ROOM_LINK})
    brindlemux_check_headers(${name} ${ROOM_FOLDER} LINK brindlemux_${name} HEADERS ${ROOM_HEADERS})
    return()
  endif()
  add_library(brindlemux_${name} STATIC ${ROOM_SOURCES} ${ROOM_HEADERS})
  target_include_directories(brindlemux_${name} PUBLIC ${include_root})
  target_link_libraries(brindlemux_${name} PUBLIC ${ROOM_LINK} PRIVATE brindlemux_flags ${ROOM_PRIVATE_LINK})
  brindlemux_check_headers(${name} ${ROOM_FOLDER} LINK brindlemux_${name} ${ROOM_PRIVATE_LINK} HEADERS ${ROOM_HEADERS})
endfunction()

# brindlemux_check_headers(<name> <folder> LINK ... HEADERS ...)
#
# The target `headers` compiles each header by itself, twice in one file: it includes what it needs, and guards itself.
add_custom_target(headers)
function(brindlemux_check_headers name folder)
  cmake_parse_arguments(CHECK "" "" "LINK;HEADERS" ${ARGN})
  foreach(header IN LISTS CHECK_HEADERS)
    set(file ${CMAKE_BINARY_DIR}/headers/${name}/${header}.cpp)
    file(GENERATE OUTPUT ${file} CONTENT "#include \"${folder}/${header}\"\n#include \"${folder}/${header}\"\n")
    list(APPEND files ${file})
  endforeach()
  add_library(brindlemux_${name}_headers OBJECT EXCLUDE_FROM_ALL ${files})
  set_target_properties(brindlemux_${name}_headers PROPERTIES AUTOMOC OFF)
  # Nobody runs what comes of it.
  target_compile_options(brindlemux_${name}_headers PRIVATE -O0 -g0)
  target_link_libraries(brindlemux_${name}_headers PRIVATE brindlemux_flags ${CHECK_LINK})
  add_dependencies(headers brindlemux_${name}_headers)
endfunction()
