# SPDX-License-Identifier: Apache-2.0
# cmake -D LIST=<file> -D HEADER=<file> -D VERSION_SCRIPT=<file> -D LIBRARY=<file> -D NM=<nm> -D READELF=<readelf>
#       -P check_exports.cmake
# Fails, naming every difference, unless list, header, version script and library name the same functions.

cmake_minimum_required(VERSION 3.25)

set(failures 0)

macro(complain text)
    math(EXPR failures "${failures} + 1")
    message(STATUS "${text}")
endmacro()

function(compare whose names)
    foreach(name IN LISTS promised)
        if(NOT name IN_LIST names)
            complain("${name}: promised, but not in the ${whose}")
        endif()
    endforeach()
    foreach(name IN LISTS names)
        if(NOT name IN_LIST promised)
            complain("${name}: in the ${whose}, but not promised")
        endif()
    endforeach()
    set(failures ${failures} PARENT_SCOPE)
endfunction()

function(run output)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    set(${output} "${text}" PARENT_SCOPE)
endfunction()

file(STRINGS "${LIST}" promised REGEX "^[^#]")

# Every declaration that is marked as exported, whatever its prefix; comments do not count.
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

# Everything that a program could bind to, data included; the version's own name (type A) is none of it.
run(text ${NM} --dynamic --defined-only --no-sort "${LIBRARY}")
string(REGEX MATCHALL "[0-9a-f]+ [B-Zb-z] [^\n]+" lines "${text}")
set(names "")
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-f]+ ([A-Za-z]) ([^@]+)(.*)$" "\\2" name "${line}")
    list(APPEND names "${name}")
    if(NOT CMAKE_MATCH_1 STREQUAL "T" OR NOT CMAKE_MATCH_3 STREQUAL "@@KORVANE_2")
        complain("${line}: not a function of version KORVANE_2")
    endif()
endforeach()
compare(library "${names}")

# What every device application would have to load with it.
run(text ${READELF} --dynamic "${LIBRARY}")
if(NOT text MATCHES "\\(SONAME\\)[^\n]*\\[libkorvane\\.so\\.2\\]")
    complain("the library is not named libkorvane.so.2")
endif()
foreach(unwanted libstdc++ libgio libgobject libsystemd)
    string(FIND "${text}" "[${unwanted}" at)
    if(NOT at EQUAL -1)
        complain("the library needs ${unwanted}")
    endif()
endforeach()
if(text MATCHES "SYMBOLIC")
    complain("the library binds to itself first: a platform of the application's own could not take over")
endif()

if(failures GREATER 0)
    message(FATAL_ERROR "${failures} differences")
endif()
list(LENGTH promised count)
message(STATUS "list, header, version script and library agree on ${count} functions")
