# SPDX-License-Identifier: Apache-2.0
# cmake -D LIST=<file> -D HEADER=<file> -D VERSION_SCRIPT=<file> -D SYMBOLS=<file> -D LIBRARY=<file> -D NM=<nm>
#       -D READELF=<readelf> -P check_exports.cmake
# Fails and prints every difference unless the list, the header, the version script, the symbols file of the Debian package and
# the library name the same functions.

cmake_minimum_required(VERSION 3.25)

set(failures 0)

macro(report text)
    math(EXPR failures "${failures} + 1")
    message(STATUS "${text}")
endmacro()

function(compare whose names)
    foreach(name IN LISTS listed)
        if(NOT name IN_LIST names)
            report("${name}: listed, but not in the ${whose}")
        endif()
    endforeach()
    foreach(name IN LISTS names)
        if(NOT name IN_LIST listed)
            report("${name}: in the ${whose}, but not listed")
        endif()
    endforeach()
    set(failures ${failures} PARENT_SCOPE)
endfunction()

function(run output)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    set(${output} "${text}" PARENT_SCOPE)
endfunction()

file(STRINGS "${LIST}" listed REGEX "^[^#]")

# Every declaration that is marked as exported, with any prefix; without comments.
file(READ "${HEADER}" text)
string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" text "${text}")
string(REGEX REPLACE "#[^\n]*" "" text "${text}")
string(REGEX MATCHALL "KORVANE_API[^;(]*\\(" names "${text}")
list(TRANSFORM names REPLACE "^.*[^A-Za-z0-9_]([A-Za-z0-9_]+)[ \n]*\\($" "\\1")
compare(header "${names}")

# A declaration of a function that is not marked would be hidden.
string(REGEX MATCHALL "korvane_[a-z0-9_]+\\(" called "${text}")
list(TRANSFORM called REPLACE "\\($" "")
compare("header's declarations" "${called}")

file(READ "${VERSION_SCRIPT}" text)
string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" text "${text}")
string(REGEX REPLACE ".*global:(.*)local:.*" "\\1" text "${text}")
string(REGEX MATCHALL "[^ \t\n;]+" names "${text}")
compare("version script" "${names}")

file(STRINGS "${SYMBOLS}" names REGEX "^ korvane_")
list(TRANSFORM names REPLACE "^ ([^@]+)@.*" "\\1")
compare("symbols file" "${names}")

# Every symbol that a program could use, including data; without the symbol of the version itself (type A).
run(text ${NM} --dynamic --defined-only --no-sort "${LIBRARY}")
string(REGEX MATCHALL "[0-9a-f]+ [B-Zb-z] [^\n]+" lines "${text}")
set(names "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-f]+ ([A-Za-z]) ([^@]+)(.*)$" "\\2" name "${line}")
    list(APPEND names "${name}")
    if(NOT CMAKE_MATCH_1 STREQUAL "T" OR NOT CMAKE_MATCH_3 STREQUAL "@@KORVANE_2")
        report("${line}: not a function of version KORVANE_2")
    endif()
endforeach()
compare(library "${names}")

# The libraries that every application loads with it.
run(text ${READELF} --dynamic "${LIBRARY}")
if(NOT text MATCHES "\\(SONAME\\)[^\n]*\\[libkorvane\\.so\\.2\\]")
    report("the library is not named libkorvane.so.2")
endif()
foreach(unwanted libstdc++ libgio libgobject libsystemd)
    string(FIND "${text}" "[${unwanted}" at)
    if(NOT at EQUAL -1)
        report("the library needs ${unwanted}")
    endif()
endforeach()
if(text MATCHES "SYMBOLIC")
    report("the library binds its own symbols first: an application could not replace the platform")
endif()

if(failures GREATER 0)
    message(FATAL_ERROR "${failures} differences")
endif()
list(LENGTH listed count)
message(STATUS "list, header, version script, symbols file and library agree on ${count} functions")
