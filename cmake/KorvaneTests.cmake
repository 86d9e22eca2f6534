# SPDX-License-Identifier: Apache-2.0
# kv_add_test(<name> SOURCES <file>... [LIBS <target>...] [DEFINITIONS <def>...] [DBUS] [TIMEOUT <seconds>])
#
# Adds one gtest executable and one ctest entry. DBUS runs it with a private message bus.

find_package(GTest REQUIRED)

# These headers take a third of the compile time of a test, so they are precompiled once for all tests.
add_library(kv_test_headers OBJECT ${CMAKE_CURRENT_LIST_DIR}/test_headers.cpp)
target_link_libraries(kv_test_headers PRIVATE kv_warnings GTest::gtest)
target_precompile_headers(kv_test_headers PRIVATE <gtest/gtest.h> <algorithm> <functional> <map> <memory> <optional>
    <string> <vector>)

function(kv_add_test name)
    cmake_parse_arguments(arg "DBUS" "TIMEOUT" "SOURCES;LIBS;DEFINITIONS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_precompile_headers(${name} REUSE_FROM kv_test_headers)
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${name} PRIVATE kv_warnings ${arg_LIBS} GTest::gtest GTest::gtest_main)
    set(command $<TARGET_FILE:${name}>)
    if(arg_DBUS)
        set(command dbus-run-session -- ${command})
    endif()
    add_test(NAME ${name} COMMAND ${command})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
endfunction()
