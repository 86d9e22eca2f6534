# SPDX-License-Identifier: Apache-2.0
# cmake -D AGENT=<korvane-agent> -D CTL=<korvanectl> -D ROOT=<tree> -D WORK=<directory> -P check_pages.cmake
# Fails if a committed manual page differs from the help of its program, or if the page of the environment lacks a variable that
# README.md lists.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${ROOT}/tools/man/write_pages ${AGENT} ${CTL} ${WORK} COMMAND_ERROR_IS_FATAL ANY)
file(GLOB made RELATIVE ${WORK} ${WORK}/*.1)
file(GLOB committed RELATIVE ${ROOT}/docs/man ${ROOT}/docs/man/*.1)
if(NOT made STREQUAL committed)
    message(SEND_ERROR "docs/man has the pages ${committed}, the programs have ${made}: run ./dev docs")
endif()
foreach(page IN LISTS made)
    file(READ ${WORK}/${page} text)
    if(EXISTS ${ROOT}/docs/man/${page})
        file(READ ${ROOT}/docs/man/${page} committed_text)
    endif()
    if(NOT text STREQUAL committed_text)
        message(SEND_ERROR "docs/man/${page} is out of date: run ./dev docs")
    endif()
endforeach()

file(READ ${ROOT}/README.md text)
string(REGEX MATCHALL "\n\\| `[A-Z_]+` \\|" variables "${text}")
list(TRANSFORM variables REPLACE "\n\\| `([A-Z_]+)` \\|" "\\1")
list(REMOVE_ITEM variables KORVANE_JOBS) # of ./dev
list(LENGTH variables count)
if(count LESS 8)
    message(FATAL_ERROR "README.md lists only ${count} variables")
endif()
file(READ ${ROOT}/docs/man/korvane.7 text)
foreach(variable IN LISTS variables)
    if(NOT text MATCHES "\n\\.It Ev ${variable}\n")
        message(SEND_ERROR "docs/man/korvane.7 does not describe ${variable}")
    endif()
endforeach()
