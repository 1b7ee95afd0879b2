# Programs under the thread sanitizer. It looks at what it compiled only, so all that takes part is
# compiled once more.
include_guard(GLOBAL)

# brevant_watched(TARGET): compiles and links it for the thread sanitizer.
function(brevant_watched target)
  target_compile_options(${target} PRIVATE -fsanitize=thread -O1 -g)
  target_link_options(${target} PRIVATE -fsanitize=thread)
  target_compile_definitions(${target} PRIVATE BREVANT_STATIC)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE brevant_options)
endfunction()

# brevant_watched_library(NAME TARGET...): the sources of these targets as one static library.
function(brevant_watched_library name)
  set(all "")
  foreach(target IN LISTS ARGN)
    get_target_property(sources ${target} SOURCES)
    get_target_property(directory ${target} SOURCE_DIR)
    foreach(source IN LISTS sources)
      cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${directory})
      list(APPEND all ${source})
    endforeach()
  endforeach()
  add_library(${name} STATIC EXCLUDE_FROM_ALL ${all})
  brevant_watched(${name})
endfunction()

# brevant_watched_test(NAME LABEL label TIMEOUT seconds SOURCES ... [USES ...] [FILTER cases]): one
# GoogleTest program and its ctest entry. The first race ends it.
function(brevant_watched_test name)
  cmake_parse_arguments(arg "" "LABEL;TIMEOUT;FILTER" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  brevant_watched(${name})
  target_link_libraries(${name} PRIVATE
    ${arg_USES} GTest::gmock GTest::gtest GTest::gtest_main)
  set(filter "")
  if(arg_FILTER)
    set(filter --gtest_filter=${arg_FILTER})
  endif()
  add_test(NAME ${name} COMMAND ${name} ${filter})
  brevant_count_cases(${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${arg_LABEL}
    ENVIRONMENT TSAN_OPTIONS=halt_on_error=1:exitcode=66:second_deadlock_stack=1)
endfunction()
