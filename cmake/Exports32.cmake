# On 32-bit Windows the linker looks for an exported name with one more underscore than the compiler gives
# to a function whose name is bound by a label, as BREVANT_EXPORTED_AS binds it. So each flat function
# gets a second entry of that name, which jumps to it.
set(source ${PROJECT_BINARY_DIR}/exports32.cpp)
file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/brevant/*.h)
set(entries "")
foreach(header IN LISTS headers)
  file(STRINGS ${header} lines REGEX "BREVANT_EXPORTED_AS\\([A-Za-z0-9]+\\)")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  foreach(line IN LISTS lines)
    string(REGEX REPLACE ".*BREVANT_EXPORTED_AS\\(([A-Za-z0-9]+)\\).*" "\\1" name "${line}")
    string(APPEND entries "asm(\".globl __${name}\\n__${name}: jmp _${name}\\n\");\n")
  endforeach()
endforeach()
file(CONFIGURE OUTPUT ${source} CONTENT "${entries}" @ONLY)
target_sources(brevant PRIVATE ${source})
