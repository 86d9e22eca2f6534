# SPDX-License-Identifier: Apache-2.0
# cmake -P check_notices.cmake
# The layering check finds every breach of the tree in bad/, and only those.

cmake_minimum_required(VERSION 3.25)

set(expected
    "include/korvane.h: include/ may not include 'rpc_port.h'"
    "platform/include/rpc_port.h: platform/include/ may not include 'korvane.h'"
    "platform/host/port.cpp: platform/host/ may not include 'common/owned.hpp'"
    "common/owned.hpp: common/ may not include 'nowhere.hpp'"
    "common/owned.hpp: common/ may not include 'src/korvane_master_proxy/connection.hpp'"
    "src/kv_master/interface.hpp: src/kv_master/ may not include 'src/korvane_master_proxy/connection.hpp'"
    "src/korvane_master_proxy/connection.hpp: src/korvane_master_proxy/ may not include 'korvane.h'"
    "src/korvane_master_proxy/connection.hpp: src/korvane_master_proxy/ may not include 'src/korvane/handle.hpp'"
    "agent/stub.cpp: agent/ may not include 'src/korvane/handle.hpp'"
    "agent/stub.cpp: agent/ may not include 'src/korvane_master_proxy/connection.hpp'"
    "tools/tool.cpp: tools/ may not include 'src/korvane/handle.hpp'"
    "examples/device.c: examples/ may not include 'rpc_port.h'"
    "tests/unit/some_test.cpp: tests/unit/ may not include 'e2e/application.hpp'")

execute_process(
    COMMAND ${CMAKE_COMMAND} -D ROOT=${CMAKE_CURRENT_LIST_DIR}/bad -P ${CMAKE_CURRENT_LIST_DIR}/check.cmake
    OUTPUT_VARIABLE output ERROR_QUIET RESULT_VARIABLE status)
string(REGEX MATCHALL "[^\n ]+: [^\n]*may not include[^\n]*" found "${output}")
list(SORT expected)
list(SORT found)
if(NOT found STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\nfound:\n${found}")
endif()
if(status EQUAL 0)
    message(FATAL_ERROR "the check names breaches and yet succeeds")
endif()
