# mendkit_library(<name> DEPENDS <targets> SOURCES <files> [TESTS <files>])
# Adds the library of one layer, and its test program when it has tests.
function(mendkit_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS;SOURCES;TESTS")
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name} PUBLIC mendkit_settings ${arg_DEPENDS})
  # For size: the time goes into the system's calls. Behind -O2 of the release build, so it counts.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-Os>)
  if(MENDKIT_TESTS AND arg_TESTS)
    mendkit_test(${name}_test LIBRARIES ${name} mendkit_test_support SOURCES ${arg_TESTS})
  endif()
endfunction()
