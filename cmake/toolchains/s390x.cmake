# SPDX-License-Identifier: Apache-2.0
# A big-endian processor: it shows that the wire format does not depend on the byte order.
set(kv_processor s390x)
set(kv_compiler s390x-linux-gnu)
set(kv_libraries s390x-linux-gnu)
set(kv_emulator qemu-s390x-static)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
