# SPDX-License-Identifier: Apache-2.0
# 32-bit ARM, version 7, with a floating-point unit.
set(kv_processor armv7l)
set(kv_compiler arm-linux-gnueabihf)
set(kv_libraries arm-linux-gnueabihf)
set(kv_emulator qemu-arm-static)
set(kv_linker lld-16)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
