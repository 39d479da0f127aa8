# 32-bit big-endian MIPS: Debian's g++-mips-linux-gnu, target programs run by qemu-mips
# (qemu-user).
set(CAMRCD_TARGET mips)
set(CAMRCD_TRIPLE mips-linux-gnu)
set(CAMRCD_PROCESSOR mips)
set(CAMRCD_QEMU qemu-mips)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
