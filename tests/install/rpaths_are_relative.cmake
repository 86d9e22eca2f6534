# SPDX-License-Identifier: Apache-2.0
# cmake -D READELF=<readelf> -D FILES=<file>|<file>... -D BUILD=<directory> -P rpaths_are_relative.cmake
# Two builds in different directories give the same files only if no rpath contains the directory of the build.
string(REPLACE "|" ";" files "${FILES}")
foreach(file IN LISTS files)
    execute_process(COMMAND ${READELF} --dynamic ${file} OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    if(NOT text MATCHES "\\((RUNPATH|RPATH)\\)[^\n]*\\[([^\n]*)\\]")
        message(SEND_ERROR "${file} has no rpath")
        continue()
    endif()
    set(rpath "${CMAKE_MATCH_2}")
    string(FIND "${rpath}" "${BUILD}" at)
    if(NOT at EQUAL -1 OR NOT rpath MATCHES "^\\$ORIGIN")
        message(SEND_ERROR "${file} has the rpath ${rpath}, which is not relative to the file")
    endif()
endforeach()
