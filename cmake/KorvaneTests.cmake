# SPDX-License-Identifier: Apache-2.0
# kv_add_program_test(<name> [TIMEOUT <seconds>] COMMAND <program> [<argument>...])
#
# One entry of ctest. It fails if it takes longer than the timeout (default 300, long enough for a busy machine), or leaves a
# process running; in both cases all its processes are killed.
#
# kv_add_test(<name> SOURCES <file>... [LIBS <target>...] [DEFINITIONS <def>...] [NOT_EMULATED <test>...] [DBUS]
#             [TIMEOUT <seconds>])
#
# One program with GoogleTest and its entry of ctest. DBUS gives it a message bus of its own. A program for another processor
# runs in the emulator of the toolchain file, without the tests listed as NOT_EMULATED; each has its reason beside it.

find_package(GTest REQUIRED)

# Compiled once for all tests, because these headers take a third of the time of building one.
add_library(kv_test_headers OBJECT ${CMAKE_CURRENT_LIST_DIR}/test_headers.cpp)
target_link_libraries(kv_test_headers PRIVATE kv_warnings GTest::gtest)
target_precompile_headers(kv_test_headers PRIVATE <gtest/gtest.h> <algorithm> <functional> <map> <memory> <optional>
    <string> <vector>)

# Part of every build of a test: an entry of ctest needs it.
add_executable(kv-run-test ${PROJECT_SOURCE_DIR}/tests/support/run_test.cpp)
target_link_libraries(kv-run-test PRIVATE kv_testing_support kv_warnings)

function(kv_add_program_test name)
    cmake_parse_arguments(arg "" "TIMEOUT" "COMMAND" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 900)
    endif()
    add_test(NAME ${name} COMMAND kv-run-test ${arg_TIMEOUT} ${arg_COMMAND})
    math(EXPR last_resort "${arg_TIMEOUT} + 30") # ctest would leave orphans
    set_tests_properties(${name} PROPERTIES TIMEOUT ${last_resort})
endfunction()

function(kv_add_test name)
    cmake_parse_arguments(arg "DBUS" "TIMEOUT" "SOURCES;LIBS;DEFINITIONS;NOT_EMULATED" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    add_dependencies(${name} kv-run-test)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_precompile_headers(${name} REUSE_FROM kv_test_headers)
    target_compile_definitions(${name} PRIVATE ${arg_DEFINITIONS})
    target_link_libraries(${name} PRIVATE kv_warnings ${arg_LIBS} GTest::gtest GTest::gtest_main)
    set(command ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}>)
    if(CMAKE_CROSSCOMPILING_EMULATOR AND arg_NOT_EMULATED)
        list(JOIN arg_NOT_EMULATED ":" left_out)
        list(APPEND command --gtest_filter=-${left_out})
    endif()
    if(arg_DBUS)
        set(command dbus-run-session -- ${command})
    endif()
    kv_add_program_test(${name} TIMEOUT ${arg_TIMEOUT} COMMAND ${command})
    set_tests_properties(${name} PROPERTIES LABELS gtest) # ./dev test NAME selects single tests of these
endfunction()
