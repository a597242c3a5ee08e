# SPDX-License-Identifier: MIT
# 64-bit ARM Linux, cross-built on Debian and run under emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# A processor that enforces branch targets and signed return addresses. The architecture's signing
# algorithm is slow to emulate; impdef replaces it.
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-aarch64 -cpu max,pauth-impdef=on -L /usr/aarch64-linux-gnu)
