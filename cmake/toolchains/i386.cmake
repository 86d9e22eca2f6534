# SPDX-License-Identifier: Apache-2.0
# 32-bit x86.
set(kv_processor i686)
set(kv_compiler i686-linux-gnu)
set(kv_libraries i386-linux-gnu)
set(kv_emulator qemu-i386-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
