# A room is one folder, one library, and the list of rooms that it may include. Headers are reached
# as "room/Header.h" through a directory that holds a link to that room alone, so an include of a
# room that is not listed behind USES does not compile.
set(TOVI_ROOMS_DIR "${CMAKE_BINARY_DIR}/rooms")

add_library(tovi_options INTERFACE)
target_compile_options(tovi_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                       -Wnon-virtual-dtor -Woverloaded-virtual
                       # Log entries name their source file: from the project's root, not a build's.
                       -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
target_compile_definitions(tovi_options INTERFACE $<$<CONFIG:RelWithDebInfo>:_FORTIFY_SOURCE=2>)
target_compile_options(tovi_options INTERFACE $<$<CONFIG:RelWithDebInfo>:-fstack-protector-strong>)
target_link_options(tovi_options INTERFACE -Wl,-z,relro,-z,now)

# The folder that this is called in becomes the room of that name.
function(tovi_expose_room room)
  file(MAKE_DIRECTORY "${TOVI_ROOMS_DIR}/${room}")
  file(CREATE_LINK "${CMAKE_CURRENT_SOURCE_DIR}" "${TOVI_ROOMS_DIR}/${room}/${room}" SYMBOLIC)
endfunction()

# The rooms whose headers a target may include, and whose code it is linked with.
function(tovi_use_rooms target)
  foreach(room IN LISTS ARGN)
    target_include_directories(${target} PRIVATE "${TOVI_ROOMS_DIR}/${room}")
    target_link_libraries(${target} PRIVATE tovi_${room})
  endforeach()
endfunction()

# tovi_room(NAME [USES room...] [LIBRARIES target...] SOURCES file...)
function(tovi_room room)
  cmake_parse_arguments(ARG "" "" "USES;LIBRARIES;SOURCES" ${ARGN})
  tovi_expose_room(${room})
  add_library(tovi_${room} STATIC ${ARG_SOURCES})
  target_include_directories(tovi_${room} PRIVATE "${TOVI_ROOMS_DIR}/${room}")
  target_link_libraries(tovi_${room} PRIVATE tovi_options PUBLIC ${ARG_LIBRARIES})
  tovi_use_rooms(tovi_${room} ${ARG_USES})
endfunction()

# tovi_program(NAME [USES room...] [LIBRARIES target...] SOURCES file...)
function(tovi_program name)
  cmake_parse_arguments(ARG "" "" "USES;LIBRARIES;SOURCES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE tovi_options ${ARG_LIBRARIES})
  tovi_use_rooms(${name} ${ARG_USES})
endfunction()
