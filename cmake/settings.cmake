# Compiler settings; the target mendkit_settings carries those of the project's own code.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_FLAGS_RELEASE "-O2 -g -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")

# For third-party objects too: the same bytes from any folder, and sections that the linker can drop. The build folder
# comes first because it lies in the source folder.
add_compile_options(
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffunction-sections>
  $<$<COMPILE_LANGUAGE:C,CXX>:-fdata-sections>)
# UNICODE for every object: the meaning of classes in <comdef.h> depends on it.
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0A00)
add_link_options(-static -Wl,--gc-sections -Wl,--no-insert-timestamp)

# Checks of undefined behaviour, third-party code included. A finding is an illegal instruction: this form needs no
# run-time library. runtime/fault/undefined_behaviour.cpp ends the process.
option(MENDKIT_UBSAN "Build with GCC's checks of undefined behaviour" OFF)
if(MENDKIT_UBSAN)
  add_compile_options(
    $<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=undefined>
    $<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize-undefined-trap-on-error>)
  add_compile_definitions(MENDKIT_UBSAN)
endif()

add_library(mendkit_settings INTERFACE)
target_compile_options(mendkit_settings INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra>
  $<$<COMPILE_LANGUAGE:CXX>:-Wformat=2>
  $<$<COMPILE_LANGUAGE:CXX>:-Wshadow>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Werror>
  # Faults become C++ exceptions, so the optimiser must keep a try block around code without a throw.
  $<$<COMPILE_LANGUAGE:CXX>:-fnon-call-exceptions>)
target_compile_definitions(mendkit_settings INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX)
target_include_directories(mendkit_settings INTERFACE ${CMAKE_SOURCE_DIR})
