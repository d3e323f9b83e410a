# Compiler settings of all own code, carried by one target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_FLAGS_RELEASE "-O2 -g -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g -DNDEBUG")

# For every object, third-party ones too: equal bytes from any folder (build folder first, it lies in the
# source folder), and sections that the linker can drop.
add_compile_options(
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>
  $<$<COMPILE_LANGUAGE:C,CXX>:-ffunction-sections>
  $<$<COMPILE_LANGUAGE:C,CXX>:-fdata-sections>)
# One meaning of TCHAR everywhere: <comdef.h> has classes whose layout depends on it.
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0A00)
add_link_options(-static -Wl,--gc-sections -Wl,--no-insert-timestamp)

add_library(mendkit_settings INTERFACE)
target_compile_options(mendkit_settings INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall>
  $<$<COMPILE_LANGUAGE:CXX>:-Wextra>
  $<$<COMPILE_LANGUAGE:CXX>:-Wformat=2>
  $<$<COMPILE_LANGUAGE:CXX>:-Wshadow>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
  $<$<COMPILE_LANGUAGE:CXX>:-Werror>
  # Faults become C++ exceptions: a try around code that "cannot throw" must survive the optimiser.
  # (No stack protector: GCC's fetches its guard from the cryptographic provider, which loads a dozen DLLs and
  # doubles the start of the process.)
  $<$<COMPILE_LANGUAGE:CXX>:-fnon-call-exceptions>)
target_compile_definitions(mendkit_settings INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX)
target_include_directories(mendkit_settings INTERFACE ${CMAKE_SOURCE_DIR})
