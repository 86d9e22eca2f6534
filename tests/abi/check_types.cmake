# SPDX-License-Identifier: Apache-2.0
# cmake -D ABIDIFF=<abidiff> -D BASELINE=<file.abi> -D LIBRARY=<library> -D HEADERS=<directory> -D WORK=<directory>
#       [-D CHANGE=<text>|<replacement>] -P check_types.cmake
# Fails if the library changes or removes anything of the baseline: a function, a parameter, a type. Additions are allowed.
# With CHANGE the baseline is changed first, and the script fails unless abidiff reports the difference.
cmake_minimum_required(VERSION 3.25)

set(baseline ${BASELINE})
if(DEFINED CHANGE)
    string(REPLACE "|" ";" change "${CHANGE}")
    list(GET change 0 text)
    list(GET change 1 replacement)
    file(READ ${BASELINE} abi)
    string(REPLACE "${text}" "${replacement}" changed "${abi}")
    if(changed STREQUAL abi)
        message(FATAL_ERROR "${BASELINE} does not contain ${text}")
    endif()
    set(baseline ${WORK}/changed.abi)
    file(WRITE ${baseline} "${changed}")
endif()

execute_process(
    COMMAND ${ABIDIFF} --no-added-syms --headers-dir2 ${HEADERS} ${baseline} ${LIBRARY}
    RESULT_VARIABLE status OUTPUT_VARIABLE report ERROR_VARIABLE report)
# The status is a set of bits: 1 an error, 2 wrong usage, 4 a change, 8 an incompatible change.
if(DEFINED CHANGE)
    if(NOT status MATCHES "^(4|8|12)$")
        message(FATAL_ERROR "abidiff ends with ${status} for a changed baseline:\n${report}")
    endif()
elseif(NOT status EQUAL 0)
    message(FATAL_ERROR "${LIBRARY} differs from ${BASELINE} (status ${status}):\n${report}")
endif()
