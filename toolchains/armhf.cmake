# 32-bit ARM, the processor of most sets.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(architecture armhf)
set(triplet arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
