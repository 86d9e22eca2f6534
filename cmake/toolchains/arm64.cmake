# SPDX-License-Identifier: Apache-2.0
# 64-bit ARM.
set(kv_processor aarch64)
set(kv_compiler aarch64-linux-gnu)
set(kv_libraries aarch64-linux-gnu)
set(kv_emulator qemu-aarch64-static)
set(kv_linker lld-16)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
