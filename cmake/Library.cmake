# The products: one shared and one static library made from the objects of all floors.
set(objects "")
foreach(floor IN LISTS BREVANT_FLOORS)
  list(APPEND objects $<TARGET_OBJECTS:${floor}>)
endforeach()

add_library(brevant SHARED ${objects})
add_library(brevant_static STATIC ${objects})
add_library(brevant::brevant ALIAS brevant)
add_library(brevant::static ALIAS brevant_static)
foreach(product brevant brevant_static)
  # The objects are compiled already: all that is left to say is what they link with.
  target_link_libraries(${product} PRIVATE ${BREVANT_SYSTEM_LIBRARIES})
  target_link_libraries(${product} PRIVATE $<BUILD_INTERFACE:brevant_hardening>)
  target_include_directories(${product} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src/platform/${BREVANT_PLATFORM}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${product} INTERFACE cxx_std_20)
  set_target_properties(${product} PROPERTIES OUTPUT_NAME brevant LINKER_LANGUAGE CXX)
  if(BREVANT_SANITIZE)
    target_link_options(${product} PUBLIC -fsanitize=${BREVANT_SANITIZE})
  endif()
endforeach()
target_compile_definitions(brevant_static INTERFACE BREVANT_STATIC)
brevant_export_nothing(brevant_static)
set_target_properties(brevant PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
set_target_properties(brevant_static PROPERTIES EXPORT_NAME static)
include(cmake/Version.cmake)
brevant_version(brevant brevant.dll VFT_DLL "${PROJECT_DESCRIPTION}")
if(WIN32)
  set_target_properties(brevant PROPERTIES PREFIX "" RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  set_target_properties(brevant_static PROPERTIES OUTPUT_NAME brevant_static)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    include(cmake/Exports32.cmake)
  endif()
  # One file to hand out: the compiler's runtime goes into it.
  target_link_options(brevant PRIVATE -static)
else()
  # A name that no floor defines is an error here, not in the host.
  if(NOT BREVANT_SANITIZE)
    target_link_options(brevant PRIVATE -Wl,--no-undefined)
  endif()
endif()
