# The C library of OpenWrt, from Debian's musl-tools. Its compiler wrapper is for
# C only; C++ code gets the same specs and, in front of musl's headers, those of
# the C++ library, of which the device code uses headers alone. Those ask glibc for its version.
execute_process(COMMAND gcc -dumpmachine OUTPUT_VARIABLE gnu_machine OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND gcc -dumpversion OUTPUT_VARIABLE gcc_version OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "-gnu" "-musl" musl_machine "${gnu_machine}")
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_CXX_FLAGS_INIT
  "-nostdinc++ '-D__GLIBC_PREREQ(major,minor)=0' -isystem /usr/include/c++/${gcc_version} -isystem /usr/include/${gnu_machine}/c++/${gcc_version} -specs /usr/lib/${musl_machine}/musl-gcc.specs")
