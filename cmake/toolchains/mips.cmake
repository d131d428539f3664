# 32-bit MIPS, big-endian: what shows a byte order taken for granted.
set(tspec_cross_processor mips)
set(tspec_cross_triplet mips-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
