# What the toolchain files of Debian's cross compilers have in common. Expects
#   tspec_cross_triplet    the prefix of the compiler's programs
#   tspec_cross_processor  the machine; qemu-user's programs have the same name
#
# The libraries of these compilers are in a folder of their own, from which
# qemu-user loads them too when it runs what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${tspec_cross_processor})
set(CMAKE_C_COMPILER ${tspec_cross_triplet}-gcc)
set(CMAKE_CXX_COMPILER ${tspec_cross_triplet}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${tspec_cross_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${tspec_cross_processor};-L;/usr/${tspec_cross_triplet})
