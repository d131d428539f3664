# 32-bit MIPS, little-endian.
set(tspec_cross_processor mipsel)
set(tspec_cross_triplet mipsel-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
