# brevant_floor(NAME SOURCES ... USES ...): one floor of the library as a static archive of its own,
# so that a floor that reaches upward does not link. The products are made from the floors' objects.
set(BREVANT_FLOORS "" CACHE INTERNAL "")
# A program that takes the static archives in exports nothing: on Windows the objects' wishes to be
# exported go. (The shared library is made from the objects themselves.)
function(brevant_export_nothing archive)
  if(WIN32)
    add_custom_command(TARGET ${archive} POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --remove-section=.drectve $<TARGET_FILE:${archive}>)
  endif()
endfunction()

function(brevant_floor name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_library(floor_${name} STATIC ${arg_SOURCES})
  brevant_export_nothing(floor_${name})
  target_compile_definitions(floor_${name} PRIVATE BREVANT_BUILDING)
  target_link_libraries(floor_${name} PUBLIC brevant_options)
  target_link_libraries(floor_${name} PRIVATE $<BUILD_INTERFACE:brevant_hardening>)
  foreach(used IN LISTS arg_USES)
    target_link_libraries(floor_${name} PUBLIC floor_${used})
  endforeach()
  set(BREVANT_FLOORS ${BREVANT_FLOORS} floor_${name} CACHE INTERNAL "")
endfunction()
