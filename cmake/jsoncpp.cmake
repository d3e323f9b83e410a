# JsonCpp for Windows, built from Debian's source: Debian has no cross-built package.
if(NOT EXISTS ${MENDKIT_JSONCPP_SOURCE}/src/lib_json/json_value.cpp)
  message(FATAL_ERROR "No JsonCpp source in ${MENDKIT_JSONCPP_SOURCE}: run ./scripts/setup first")
endif()
add_library(jsoncpp STATIC
  ${MENDKIT_JSONCPP_SOURCE}/src/lib_json/json_reader.cpp
  ${MENDKIT_JSONCPP_SOURCE}/src/lib_json/json_value.cpp
  ${MENDKIT_JSONCPP_SOURCE}/src/lib_json/json_writer.cpp)
target_include_directories(jsoncpp SYSTEM PUBLIC ${MENDKIT_JSONCPP_SOURCE}/include)
# For size: its documents are small.
target_compile_options(jsoncpp PRIVATE -Os -ffile-prefix-map=${MENDKIT_JSONCPP_SOURCE}=jsoncpp)
