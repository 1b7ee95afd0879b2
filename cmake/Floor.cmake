# brevant_floor(NAME SOURCES ... USES ...): one floor of the library as a static archive of its own,
# so that a floor that reaches upward does not link. The products are made from the floors' objects.
set(BREVANT_FLOORS "" CACHE INTERNAL "")
function(brevant_floor name)
  cmake_parse_arguments(arg "" "" "SOURCES;USES" ${ARGN})
  add_library(floor_${name} STATIC ${arg_SOURCES})
  target_compile_definitions(floor_${name} PRIVATE BREVANT_BUILDING)
  target_link_libraries(floor_${name} PUBLIC brevant_options)
  target_link_libraries(floor_${name} PRIVATE $<BUILD_INTERFACE:brevant_hardening>)
  foreach(used IN LISTS arg_USES)
    target_link_libraries(floor_${name} PUBLIC floor_${used})
  endforeach()
  set(BREVANT_FLOORS ${BREVANT_FLOORS} floor_${name} CACHE INTERNAL "")
endfunction()
