# SPDX-License-Identifier: Apache-2.0
# Takes the arguments of check_exports.cmake and -D WORK=<folder>. Adds a name to the list, the header and the other files
# in turn, or removes one, and checks that check_exports.cmake reports each name.

cmake_minimum_required(VERSION 3.25)

# expect_report(<file> <changed text> <line>): <file> is LIST, HEADER, VERSION_SCRIPT or SYMBOLS; <line> must be reported.
function(expect_report changed text line)
    set(files LIST HEADER VERSION_SCRIPT SYMBOLS LIBRARY)
    file(WRITE "${WORK}/changed" "${text}")
    set(${changed} "${WORK}/changed")
    foreach(file IN LISTS files)
        list(APPEND arguments -D "${file}=${${file}}")
    endforeach()
    execute_process(
        COMMAND ${CMAKE_COMMAND} ${arguments} -D NM=${NM} -D READELF=${READELF}
            -P ${CMAKE_CURRENT_LIST_DIR}/check_exports.cmake
        OUTPUT_VARIABLE output ERROR_QUIET RESULT_VARIABLE status)
    string(FIND "${output}" "-- ${line}\n" at)
    if(status EQUAL 0 OR at EQUAL -1)
        message(SEND_ERROR "changed ${changed}: expected '${line}', got status ${status} and\n${output}")
    endif()
endfunction()

file(READ "${LIST}" list)
file(READ "${HEADER}" header)
file(READ "${VERSION_SCRIPT}" script)

string(REPLACE "korvane_stop\n" "" text "${list}")
expect_report(LIST "${text}" "korvane_stop: in the header, but not listed")
expect_report(LIST "${text}" "korvane_stop: in the version script, but not listed")
expect_report(LIST "${text}" "korvane_stop: in the library, but not listed")
expect_report(LIST "${list}korvane_sleep\n" "korvane_sleep: listed, but not in the header")
expect_report(LIST "${list}korvane_sleep\n" "korvane_sleep: listed, but not in the version script")
expect_report(LIST "${list}korvane_sleep\n" "korvane_sleep: listed, but not in the library")

string(REPLACE "KORVANE_API int korvane_stop(" "int korvane_stop(" text "${header}")
expect_report(HEADER "${text}" "korvane_stop: listed, but not in the header")
expect_report(HEADER "${header}KORVANE_API int other_sleep(void);" "other_sleep: in the header, but not listed")
expect_report(HEADER "${header}int korvane_sleep(void);"
    "korvane_sleep: in the header's declarations, but not listed")

string(REPLACE "korvane_stop;" "" text "${script}")
expect_report(VERSION_SCRIPT "${text}" "korvane_stop: listed, but not in the version script")
string(REPLACE "korvane_stop;" "korvane_stop; korvane_*;" text "${script}")
expect_report(VERSION_SCRIPT "${text}" "korvane_*: in the version script, but not listed")

file(READ "${SYMBOLS}" symbols)
string(REPLACE " korvane_stop@KORVANE_2 2.3.3\n" "" text "${symbols}")
expect_report(SYMBOLS "${text}" "korvane_stop: listed, but not in the symbols file")
expect_report(SYMBOLS "${symbols} korvane_sleep@KORVANE_2 2.3.3\n" "korvane_sleep: in the symbols file, but not listed")
