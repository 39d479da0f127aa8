# 32-bit little-endian ARM with hardware floating point: Debian's g++-arm-linux-gnueabihf,
# target programs run by qemu-arm (qemu-user).
set(CAMRCD_TARGET armhf)
set(CAMRCD_TRIPLE arm-linux-gnueabihf)
set(CAMRCD_PROCESSOR arm)
set(CAMRCD_QEMU qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
