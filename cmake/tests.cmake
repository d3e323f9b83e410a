# GoogleTest from Debian's source, and the function that adds a test program.
if(MENDKIT_TESTS)
  enable_testing()
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  include(GoogleTest)
endif()

# mendkit_test(<name> LIBRARIES <targets> SOURCES <files> [PROPERTIES <ctest properties>] [SECOND_MACHINE <filter>])
# SECOND_MACHINE: the tests that run in a prefix of their own (scripts/test makes it), beside those of whole programs in
# the first one.
function(mendkit_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SECOND_MACHINE" "LIBRARIES;SOURCES;PROPERTIES")
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} mendkit_settings GTest::gtest_main)
  set(first "*")
  if(arg_SECOND_MACHINE)
    set(first "-${arg_SECOND_MACHINE}")
    list(TRANSFORM arg_PROPERTIES REPLACE "^machine$" "second_machine" OUTPUT_VARIABLE properties)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_FILTER "${arg_SECOND_MACHINE}"
      TEST_LIST ${name}_on_second_machine PROPERTIES TIMEOUT 60 ${properties}
      ENVIRONMENT WINEPREFIX=${CMAKE_SOURCE_DIR}/build/test-prefix-2)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 TEST_FILTER "${first}"
    PROPERTIES TIMEOUT 60 ${arg_PROPERTIES})
endfunction()
