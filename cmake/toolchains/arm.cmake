# 32-bit ARM with hardware floating point.
set(tspec_cross_processor arm)
set(tspec_cross_triplet arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
