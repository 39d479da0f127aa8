# Shared part of the cross toolchain files, which set CAMRCD_TARGET (as scripts/test
# --target spells it), CAMRCD_TRIPLE, CAMRCD_PROCESSOR and CAMRCD_QEMU: Debian's cross
# compiler for CAMRCD_TRIPLE (package g++-CAMRCD_TRIPLE) and qemu-user's CAMRCD_QEMU as
# the emulator that runs target programs, with the target's library root
# /usr/CAMRCD_TRIPLE. Never falls back to the host compiler: a missing compiler or
# emulator leaves its one-line reason in CAMRCD_CROSS_MISSING, which the top
# CMakeLists.txt reports before any compiler is probed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CAMRCD_PROCESSOR})
set(target_root /usr/${CAMRCD_TRIPLE})

find_program(CAMRCD_CROSS_CXX ${CAMRCD_TRIPLE}-g++ NO_CACHE)
find_program(CAMRCD_CROSS_CC ${CAMRCD_TRIPLE}-gcc NO_CACHE)
find_program(CAMRCD_CROSS_QEMU ${CAMRCD_QEMU} NO_CACHE)
set(CAMRCD_CROSS_MISSING "")
if(NOT CAMRCD_CROSS_CXX OR NOT CAMRCD_CROSS_CC)
  set(CAMRCD_CROSS_MISSING "no ${CAMRCD_TRIPLE}-g++: apt-get install g++-${CAMRCD_TRIPLE}")
elseif(NOT CAMRCD_CROSS_QEMU)
  set(CAMRCD_CROSS_MISSING "no ${CAMRCD_QEMU}: apt-get install qemu-user")
elseif(NOT EXISTS ${target_root}/lib)
  set(CAMRCD_CROSS_MISSING "no ${target_root}/lib: apt-get install g++-${CAMRCD_TRIPLE}")
endif()

set(CMAKE_C_COMPILER ${CAMRCD_CROSS_CC})
set(CMAKE_CXX_COMPILER ${CAMRCD_CROSS_CXX})
set(CMAKE_CROSSCOMPILING_EMULATOR ${CAMRCD_CROSS_QEMU} -L ${target_root})

# Libraries, headers and packages come from the target root only: a host library can
# never be linked into a target program.
set(CMAKE_FIND_ROOT_PATH ${target_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
