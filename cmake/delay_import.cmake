# delay_import(<target> <file.def>): a library that binds a DLL's functions at their first call. A system DLL
# that only rare paths need (COM) would otherwise add a third to the start of every process.
function(delay_import target def)
  set(library ${CMAKE_CURRENT_BINARY_DIR}/lib${target}.a)
  add_custom_command(OUTPUT ${library}
    # The tool makes symbols of the library's path: a name without folders keeps them equal everywhere.
    COMMAND ${CMAKE_DLLTOOL} -m i386:x86-64 --input-def ${CMAKE_CURRENT_SOURCE_DIR}/${def}
      --output-delaylib lib${target}.a
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    DEPENDS ${def} VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_library(${target} INTERFACE)
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
