# What every target of the project is built with, and the one way to add a test.

set(ZAVELO_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlapping copies in optimised std::string concatenation (GCC bug 105651).
  list(APPEND ZAVELO_WARNINGS -Wno-restrict)
endif()

function(zavelo_target_defaults target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${target} PRIVATE ${ZAVELO_WARNINGS})
  if(ZAVELO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZAVELO_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZAVELO_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ZAVELO_SANITIZE})
  endif()
  if(ZAVELO_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()

# zavelo_add_test(NAME name SOURCES a.cpp b.cpp [LIBRARIES targets] [LABELS labels])
# One GoogleTest program; each of its tests is a ctest of its own. Those that take long have the label
# slow.
function(zavelo_add_test)
  cmake_parse_arguments(TEST "" "NAME" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${TEST_NAME} ${TEST_SOURCES})
  zavelo_target_defaults(${TEST_NAME})
  target_include_directories(${TEST_NAME} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${TEST_NAME} PRIVATE ${TEST_LIBRARIES} GTest::gmock_main)
  set(properties TIMEOUT 120)
  if(TEST_LABELS)
    list(APPEND properties LABELS "${TEST_LABELS}")
  else()
    # For scripts/test-shuffled.
    set_property(GLOBAL APPEND_STRING PROPERTY ZAVELO_TEST_PROGRAMS "$<TARGET_FILE:${TEST_NAME}>\n")
  endif()
  gtest_discover_tests(${TEST_NAME} DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
