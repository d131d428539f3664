# The C library of OpenWrt, on this machine's processor, by Debian's musl-tools.
#
# There is no C++ library built on musl there, and what runs on the device needs
# none: it uses templates of the C++ headers alone. They are those of the
# machine's own compiler, put in front of musl's C headers. They ask which glibc
# they are on, in a form that only glibc's headers give a meaning.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/musl-g++)

execute_process(COMMAND g++ -dumpmachine
  OUTPUT_VARIABLE tspec_gnu_triplet OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpversion
  OUTPUT_VARIABLE tspec_gcc_version OUTPUT_STRIP_TRAILING_WHITESPACE)
string(CONCAT CMAKE_CXX_FLAGS_INIT
  "-nostdinc++ '-D__GLIBC_PREREQ(major,minor)=0'"
  " -isystem /usr/include/c++/${tspec_gcc_version}"
  " -isystem /usr/include/${tspec_gnu_triplet}/c++/${tspec_gcc_version}")

# Nothing of the machine's own libraries fits.
string(REPLACE "-gnu" "-musl" tspec_musl_triplet "${tspec_gnu_triplet}")
set(CMAKE_FIND_ROOT_PATH /usr/lib/${tspec_musl_triplet} /usr/include/${tspec_musl_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
