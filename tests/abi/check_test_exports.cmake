# SPDX-License-Identifier: Apache-2.0
# cmake -D HEADER=<korvane_test.h> -D LIBRARY=<libkorvane-test> -D NM=<nm> -D READELF=<readelf> -P check_test_exports.cmake
# Fails unless the library exports the functions of its header, with a version, and nothing else.
cmake_minimum_required(VERSION 3.25)

file(READ "${HEADER}" text)
string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" text "${text}")
string(REGEX MATCHALL "korvane_test_[a-z_]+\\(" declared "${text}")
list(TRANSFORM declared REPLACE "(.+)\\($" "\\1@@KORVANE_TEST_2")
list(SORT declared)

execute_process(COMMAND ${NM} --dynamic --defined-only "${LIBRARY}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[0-9a-f]+ [B-Zb-z] [^\n]+" exported "${text}")
list(TRANSFORM exported REPLACE "^[0-9a-f]+ [A-Za-z] " "")
list(SORT exported)

list(LENGTH declared count)
if(count LESS 10 OR NOT declared STREQUAL exported)
    string(REPLACE ";" "\n  " declared "${declared}")
    string(REPLACE ";" "\n  " exported "${exported}")
    message(FATAL_ERROR "the header declares\n  ${declared}\nthe library exports\n  ${exported}")
endif()
execute_process(COMMAND ${READELF} --dynamic "${LIBRARY}" OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
if(NOT text MATCHES "\\(SONAME\\)[^\n]*\\[libkorvane-test\\.so\\.2\\]")
    message(FATAL_ERROR "the library is not named libkorvane-test.so.2")
endif()
