# The rooms of the source tree, lowest first. A room may use the rooms before it in this list and
# no other; tests/roomOrder.sh reads the list and refuses an include that points the wrong way.
set(TESSARIN_ROOMS classShared utils platform movie ffmpeg process analysis encoding prefs jobs core updates views)

# tessarin_room(NAME [LIBRARIES...]): the library of one room, linked to all the rooms below it.
function(tessarin_room name)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cpp)
  set(scope PUBLIC)
  if(sources)
    add_library(tessarin_${name} STATIC ${sources})
  else()
    set(scope INTERFACE)
    add_library(tessarin_${name} INTERFACE)
  endif()
  target_include_directories(tessarin_${name} ${scope} ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(tessarin_${name} ${scope} tessarin_options fmt::fmt ${ARGN})
  foreach(lower IN LISTS TESSARIN_ROOMS)
    if(lower STREQUAL name)
      break()
    endif()
    target_link_libraries(tessarin_${name} ${scope} tessarin_${lower})
  endforeach()
endfunction()
