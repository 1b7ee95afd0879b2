# What every target of the project is compiled with.
add_library(brevant_options INTERFACE)
target_include_directories(brevant_options INTERFACE
  ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
# The one public header that differs between the platforms comes from below the seam.
if(WIN32)
  set(BREVANT_PLATFORM windows)
else()
  set(BREVANT_PLATFORM posix)
endif()
target_include_directories(brevant_options INTERFACE
  ${PROJECT_SOURCE_DIR}/src/platform/${BREVANT_PLATFORM}/include)
target_compile_options(brevant_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor -Wold-style-cast)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlapping copies in std::string where there are none, with optimisation only.
  target_compile_options(brevant_options INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # The settings objects' table of virtual operations is fixed and has no place for a destructor.
  target_compile_options(brevant_options INTERFACE -Wno-delete-non-abstract-non-virtual-dtor)
endif()
if(BREVANT_WERROR)
  target_compile_options(brevant_options INTERFACE -Werror)
endif()
if(WIN32)
  target_compile_definitions(brevant_options INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0601 __USE_MINGW_ANSI_STDIO=1)
  # ssp: the stack protector calls into a library of the compiler there.
  set(BREVANT_SYSTEM_LIBRARIES ole32 uuid ws2_32 ssp)
  target_link_options(brevant_options INTERFACE -static)
else()
  find_package(Threads REQUIRED)
  set(BREVANT_SYSTEM_LIBRARIES Threads::Threads ${CMAKE_DL_LIBS})
endif()
target_link_libraries(brevant_options INTERFACE ${BREVANT_SYSTEM_LIBRARIES})
if(BREVANT_SANITIZE)
  target_compile_options(brevant_options INTERFACE
    -fsanitize=${BREVANT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(brevant_options INTERFACE -fsanitize=${BREVANT_SANITIZE})
endif()
if(BREVANT_COVERAGE)
  set(coverage -fprofile-instr-generate -fcoverage-mapping)
  target_compile_options(brevant_options INTERFACE ${coverage})
  target_link_options(brevant_options INTERFACE ${coverage})
  # The library is linked without what floors are compiled with.
  add_link_options($<$<LINK_LANGUAGE:CXX>:-fprofile-instr-generate>)
endif()
find_program(BREVANT_CCACHE ccache)
if(BREVANT_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${BREVANT_CCACHE})
endif()
