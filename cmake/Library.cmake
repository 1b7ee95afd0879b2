# The products: one shared and one static library made from the objects of all floors.
set(objects "")
foreach(floor IN LISTS BREVANT_FLOORS)
  list(APPEND objects $<TARGET_OBJECTS:${floor}>)
endforeach()

add_library(brevant SHARED ${objects})
add_library(brevant_static STATIC ${objects})
foreach(product brevant brevant_static)
  target_link_libraries(${product} PRIVATE brevant_options)
  target_include_directories(${product} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src/platform/${BREVANT_PLATFORM}/include>
    $<INSTALL_INTERFACE:include>)
  target_compile_features(${product} INTERFACE cxx_std_20)
  set_target_properties(${product} PROPERTIES OUTPUT_NAME brevant LINKER_LANGUAGE CXX)
endforeach()
target_compile_definitions(brevant_static INTERFACE BREVANT_STATIC)
set_target_properties(brevant PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0)
if(WIN32)
  set_target_properties(brevant PROPERTIES PREFIX "")
  set_target_properties(brevant_static PROPERTIES OUTPUT_NAME brevant_static)
endif()
