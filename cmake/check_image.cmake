# Fails the build when the image lacks a protection (ASLR, NX), the version of the oldest supported
# system or an export, or imports unexpected DLLs.
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
require("MajorSubsystemVersion[ \t]+10[\r\n]" "the oldest supported system (subsystem version 10.0)")
require("MinorSubsystemVersion[ \t]+0[\r\n]" "the oldest supported system (subsystem version 10.0)")
# Without a relocation table the loader cannot move the image, although the ASLR flags are set.
require("Entry 5 [0-9a-f]+ 0*[1-9a-f][0-9a-f]* Base Relocation" "the relocation table")

# No delay-loaded DLLs: some linkers put their address table into read-only memory, and the first call faults. Some
# linkers leave the directory entry empty, but all of them link the helper function.
if(NOT headers MATCHES "Entry d 0+ 0+ Delay Import Directory" OR symbols MATCHES "__delayLoadHelper2")
  message(FATAL_ERROR "${IMAGE} has delay-loaded DLLs: declare their functions in runtime/late/late_imports.h")
endif()

# The product's libraries find the program's log settings through this export.
require("m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22" "the exported context")

# A DLL planted beside the program cannot replace these: every process loads them already, or they are on the loader's
# list of known DLLs. Each further DLL slows the start. The DLLs of runtime/late/late_imports.h are not imported: the
# program loads them from the system directory only.
set(expected ADVAPI32.dll KERNEL32.dll msvcrt.dll ntdll.dll)
string(REGEX MATCHALL "DLL Name: [^\n\r]+" names "${headers}")
list(TRANSFORM names REPLACE "DLL Name: " "")
list(REMOVE_DUPLICATES names)
list(SORT names COMPARE STRING)
if(NOT names STREQUAL expected)
  message(FATAL_ERROR "${IMAGE} imports ${names}, expected ${expected}")
endif()
