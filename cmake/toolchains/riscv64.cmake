# SPDX-License-Identifier: Apache-2.0
# 64-bit RISC-V.
set(kv_processor riscv64)
set(kv_compiler riscv64-linux-gnu)
set(kv_libraries riscv64-linux-gnu)
set(kv_emulator qemu-riscv64-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
