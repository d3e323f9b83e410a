# Fails the build of a program that Windows would load with less protection, or with other DLLs, than intended.
# Usage: cmake -DOBJDUMP=<objdump> -DIMAGE=<file.exe> -DSYMBOLS=<file with its symbols> -P check_image.cmake
execute_process(COMMAND ${OBJDUMP} -p ${IMAGE} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${OBJDUMP} -t ${SYMBOLS} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)

function(require pattern what)
  if(NOT headers MATCHES "${pattern}")
    message(FATAL_ERROR "${IMAGE}: ${what} is missing")
  endif()
endfunction()

require("HIGH_ENTROPY_VA" "high-entropy ASLR")
require("DYNAMIC_BASE" "ASLR")
require("NX_COMPAT" "NX")
require("Magic[ \t]+020b" "the 64-bit image format")
# Without a relocation table the loader could not move the image, whatever its flags say.
require("Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Base Relocation" "the relocation table")

# The linker binds nothing at its first call: some linkers keep the addresses in memory that is read-only, so that the
# call faults. Not all of them fill in the directory, but the code that binds is there in any case.
if(NOT headers MATCHES "Entry d 0+ 0+ Delay Import Directory" OR symbols MATCHES "__delayLoadHelper2")
  message(FATAL_ERROR "${IMAGE} has delay-loaded DLLs: declare their functions in runtime/late/late_imports.h")
endif()

# By it the libraries of the product find the program's log settings.
require("m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22" "the exported context")

# All of these are loaded by every process or come from the loader's own list of system DLLs, so nobody can put
# another one of the name beside the program. A DLL more is also a slower start: think before adding one.
# (Those of runtime/late/late_imports.h do not stand here; they are found by the program's own rule, the system directory
# alone.)
set(expected ADVAPI32.dll KERNEL32.dll msvcrt.dll ntdll.dll)
string(REGEX MATCHALL "DLL Name: [^\n\r]+" names "${headers}")
list(TRANSFORM names REPLACE "DLL Name: " "")
list(REMOVE_DUPLICATES names)
list(SORT names COMPARE STRING)
if(NOT names STREQUAL expected)
  message(FATAL_ERROR "${IMAGE} imports ${names}, expected ${expected}")
endif()
