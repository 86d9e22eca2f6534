# SPDX-License-Identifier: Apache-2.0
# kv_add_test(<name> SOURCES <file>... [LIBS <target>...] [DEFINITIONS <def>...] [DBUS] [TIMEOUT <seconds>])
#
# One gtest executable and one entry of ctest. DBUS runs it below a message bus of its own.

find_package(GTest REQUIRED)

# What nearly every test includes is read by the compiler once instead of a hundred times.
function(kv_precompile target)
    if(NOT TARGET kv_test_headers)
        add_library(kv_test_headers OBJECT ${PROJECT_SOURCE_DIR}/tests/support/test_headers.cpp)
        target_link_libraries(kv_test_headers PRIVATE kv_warnings GTest::gtest)
        target_compile_options(kv_test_headers PRIVATE -pthread)
        target_precompile_headers(kv_test_headers PRIVATE
            <gtest/gtest.h> <algorithm> <functional> <map> <memory> <string> <string_view> <vector>)
    endif()
    target_compile_options(${target} PRIVATE -pthread) # some of what is tested needs it, and all must be compiled alike
    target_precompile_headers(${target} REUSE_FROM kv_test_headers)
endfunction()

function(kv_add_test name)
    cmake_parse_arguments(arg "DBUS" "TIMEOUT" "SOURCES;LIBS;DEFINITIONS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${name} PRIVATE kv_warnings ${arg_LIBS} GTest::gtest GTest::gtest_main)
    kv_precompile(${name})
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
