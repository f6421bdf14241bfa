# The rooms of the source, and who may look into which.
#
#   brindle_room(NAME FOLDER folder HOLDS "what" [SEES room...] [USES room...] [LINK library...] [EXCEPT file...]
#                [ONLY header...] [EACH_ALONE])
#
# makes the library brindle_NAME of the .cpp files in that one folder. It compiles with its own headers and those
# of the rooms it sees or uses, and of no other: each room's headers are shown in a folder of its own in the build
# tree, so that an #include against the picture finds no file. What a room sees, those above it see as well; what
# it uses stays behind it. A room that does not link GTK, GConf or GLib does not find theirs either.
#
# EACH_ALONE is for a room of which some programs link some files: they are never compiled together.
#
# With ONLY it is not a folder's room but a view of it: those headers, and no sources.
#
# The table of the rooms goes to rooms.md in the build tree; HACKING.md holds a copy.
function(brindle_room name)
  cmake_parse_arguments(ROOM "EACH_ALONE" "FOLDER;HOLDS" "SEES;USES;LINK;EXCEPT;ONLY" ${ARGN})
  show_headers(${name} ${ROOM_FOLDER} "${ROOM_ONLY}")
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_FOLDER}/*.cpp)
  foreach(source IN LISTS ROOM_EXCEPT)
    list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${ROOM_FOLDER}/${source})
  endforeach()
  if(ROOM_ONLY)
    add_library(brindle_${name} INTERFACE)
    target_include_directories(brindle_${name} INTERFACE ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name})
    add_to_table_of_rooms()
    return()
  endif()
  add_library(brindle_${name} STATIC ${sources})
  if(TARGET brindle_headers)
    target_precompile_headers(brindle_${name} REUSE_FROM brindle_headers)
  endif()
  if(NOT ROOM_EACH_ALONE)
    compile_together(brindle_${name})
  endif()
  target_include_directories(brindle_${name} PUBLIC ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name})
  target_link_libraries(brindle_${name} PUBLIC ${ROOM_LINK})
  foreach(room IN LISTS ROOM_SEES)
    target_link_libraries(brindle_${name} PUBLIC brindle_${room})
  endforeach()
  foreach(room IN LISTS ROOM_USES)
    target_link_libraries(brindle_${name} PRIVATE brindle_${room})
  endforeach()
  add_to_table_of_rooms()
endfunction()

# The row of the room whose call this is part of.
macro(add_to_table_of_rooms)
  string(REPLACE ";" ", " sees "${ROOM_SEES}")
  string(REPLACE ";" ", " uses "${ROOM_USES}")
  set(shown "src/${ROOM_FOLDER}")
  if(ROOM_ONLY)
    string(APPEND shown "/${ROOM_ONLY}")
  endif()
  set_property(GLOBAL APPEND_STRING PROPERTY BRINDLE_ROOMS "| `${shown}` | ${ROOM_HOLDS} | ${sees} | ${uses} |\n")
endmacro()

# Links each header of the folder, or those named, into rooms/NAME of the build tree. Links to headers that are gone go as well.
function(show_headers name folder only)
  set(shown ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name}/${folder})
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}/${folder}
       ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.def)
  if(only)
    set(headers ${only})
  endif()
  file(REMOVE_RECURSE ${CMAKE_CURRENT_BINARY_DIR}/rooms/${name})
  file(MAKE_DIRECTORY ${shown})
  foreach(header IN LISTS headers)
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/${header} ${shown}/${header} SYMBOLIC)
  endforeach()
endfunction()

function(write_table_of_rooms file)
  get_property(rows GLOBAL PROPERTY BRINDLE_ROOMS)
  file(WRITE ${file} "| Folder | What lives there | Sees, and with it what that sees | Uses, for itself alone |\n|---|---|---|---|\n${rows}")
endfunction()

# The headers alone of a library whose functions are loaded with the first call (src/late).
function(brindle_headers_of library)
  add_library(brindle_${library}_headers INTERFACE)
  target_include_directories(brindle_${library}_headers SYSTEM INTERFACE
    $<TARGET_PROPERTY:PkgConfig::${library},INTERFACE_INCLUDE_DIRECTORIES>)
endfunction()
