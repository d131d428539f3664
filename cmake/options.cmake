# Compiler and linker settings, as targets to link against:
#   tspec_warnings   every target of this project
#   tspec_device     what runs on the access point: C library only, hardened
add_library(tspec_warnings INTERFACE)
target_compile_options(tspec_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(TSPEC_WERROR)
  target_compile_options(tspec_warnings INTERFACE -Werror)
endif()

add_library(tspec_device INTERFACE)
target_link_libraries(tspec_device INTERFACE tspec_wire tspec_warnings)
if(TSPEC_SANITIZE)
  # The tests themselves are left plain: what is to be watched is the device's
  # code, and they take long enough to compile as they are.
  target_compile_options(tspec_device INTERFACE
    -fsanitize=${TSPEC_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TSPEC_SANITIZE})
endif()
target_compile_options(tspec_device INTERFACE
  -fstack-protector-strong -ffunction-sections -fdata-sections -fno-plt
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>)
# A core dump and gdb need no unwind tables beside the debug symbols.
set(no_unwind_tables -fno-asynchronous-unwind-tables -fno-unwind-tables)
target_compile_options(tspec_device INTERFACE ${no_unwind_tables})
target_link_options(tspec_device INTERFACE ${no_unwind_tables}) # for what the linker compiles
target_link_options(tspec_device INTERFACE
  -Wl,--as-needed -Wl,--gc-sections -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
# Not every compiler and machine has these: branches end where the program says
# (x86), the stack grows page by page, and sizes are checked that are known only
# at run time.
include(CheckCXXSourceCompiles)
function(tspec_device_option option variable)
  set(CMAKE_REQUIRED_FLAGS "-Werror -O2 ${option}")
  check_cxx_source_compiles("
    #include <string.h>
    int main(int count, char **words) { return static_cast<int>(strlen(words[count - 1])); }"
    ${variable})
  if(${variable})
    target_compile_options(tspec_device INTERFACE $<$<NOT:$<CONFIG:Debug>>:${option}>)
    target_link_options(tspec_device INTERFACE $<$<NOT:$<CONFIG:Debug>>:${option}>) # as above
  endif()
endfunction()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
  tspec_device_option(-fcf-protection=full TSPEC_HAS_CF_PROTECTION)
endif()
tspec_device_option(-fstack-clash-protection TSPEC_HAS_STACK_CLASH_PROTECTION)
if(NOT TSPEC_SANITIZE)
  # The sanitizers bring their own checks, and both at once hide each other's.
  set(fortify 2)
  set(CMAKE_REQUIRED_FLAGS -O2)
  check_cxx_source_compiles("
    #define _FORTIFY_SOURCE 3
    #include <features.h>
    #if __USE_FORTIFY_LEVEL != 3 && defined __GLIBC__
    #error
    #endif
    int main() { return 0; }" TSPEC_HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  if(TSPEC_HAS_FORTIFY_3)
    set(fortify 3)
  endif()
  target_compile_options(tspec_device INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortify}>)
endif()
if(TSPEC_COVERAGE)
  target_compile_options(tspec_device INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(tspec_device INTERFACE --coverage)
endif()

# tspec_quick_build(): the targets of this folder and those below are not what
# ships; but for the debug preset they are compiled in the least time: plainly, and
# several files at once, as the headers they share take longer than they do.
macro(tspec_quick_build)
  if(TSPEC_QUICK_BUILD)
    set(CMAKE_UNITY_BUILD ON)
    set(CMAKE_UNITY_BUILD_BATCH_SIZE 16)
  endif()
  if(TSPEC_QUICK_BUILD AND (TSPEC_SANITIZE OR NOT CMAKE_BUILD_TYPE STREQUAL "Debug"))
    add_compile_options(-O0 -g1)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Optimising, GCC 12 sees impossible sizes inside the library's own strings.
    add_compile_options(-Wno-restrict -Wno-stringop-overflow -Wno-stringop-overread)
  endif()
endmacro()

# tspec_compile_alone(FILES...): these share names with other files of their target.
function(tspec_compile_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# TSPEC_WHOLE_PROGRAM: whether the daemon is optimised as one program.
set(TSPEC_WHOLE_PROGRAM OFF)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT TSPEC_SANITIZE AND NOT TSPEC_COVERAGE)
  include(CheckIPOSupported)
  check_ipo_supported(RESULT TSPEC_WHOLE_PROGRAM)
endif()

# tspec_whole_program(TARGET): optimises TARGET across its files.
function(tspec_whole_program target)
  # Linters know the same files from the libraries, and not all of these options.
  set_target_properties(${target} PROPERTIES
    INTERPROCEDURAL_OPTIMIZATION ON EXPORT_COMPILE_COMMANDS OFF)
endfunction()

include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# tspec_split_symbols(TARGET): leaves TARGET stripped and its symbols beside it
# in TARGET.debug, where gdb finds them by the debug link.
function(tspec_split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR NOT CMAKE_OBJCOPY)
    return()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
    COMMAND ${CMAKE_OBJCOPY} --strip-all
            --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
    VERBATIM)
endfunction()
