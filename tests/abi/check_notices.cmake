# SPDX-License-Identifier: Apache-2.0
# With the arguments of check_exports.cmake and -D WORK=<folder>: spoils the list, the header and the version script in
# turn, a name too many and a name too few, and expects each to be found by name.

cmake_minimum_required(VERSION 3.25)

# expect_noticed(<what> <spoilt text> <line that must appear>): what is LIST, HEADER or VERSION_SCRIPT.
function(expect_noticed what text line)
    set(files LIST HEADER VERSION_SCRIPT LIBRARY)
    file(WRITE "${WORK}/spoilt" "${text}")
    set(${what} "${WORK}/spoilt")
    foreach(file IN LISTS files)
        list(APPEND arguments -D "${file}=${${file}}")
    endforeach()
    execute_process(
        COMMAND ${CMAKE_COMMAND} ${arguments} -D NM=${NM} -D READELF=${READELF}
            -P ${CMAKE_CURRENT_LIST_DIR}/check_exports.cmake
        OUTPUT_VARIABLE output ERROR_QUIET RESULT_VARIABLE status)
    string(FIND "${output}" "-- ${line}\n" at)
    if(status EQUAL 0 OR at EQUAL -1)
        message(SEND_ERROR "spoilt ${what}: expected '${line}', got status ${status} and\n${output}")
    endif()
endfunction()

file(READ "${LIST}" list)
file(READ "${HEADER}" header)
file(READ "${VERSION_SCRIPT}" script)

string(REPLACE "korvane_stop\n" "" text "${list}")
expect_noticed(LIST "${text}" "korvane_stop: in the header, but not promised")
expect_noticed(LIST "${text}" "korvane_stop: in the version script, but not promised")
expect_noticed(LIST "${text}" "korvane_stop: in the library, but not promised")
expect_noticed(LIST "${list}korvane_sleep\n" "korvane_sleep: promised, but not in the header")
expect_noticed(LIST "${list}korvane_sleep\n" "korvane_sleep: promised, but not in the version script")
expect_noticed(LIST "${list}korvane_sleep\n" "korvane_sleep: promised, but not in the library")

string(REPLACE "KORVANE_API int korvane_stop(" "int korvane_stop(" text "${header}")
expect_noticed(HEADER "${text}" "korvane_stop: promised, but not in the header")
expect_noticed(HEADER "${header}KORVANE_API int other_sleep(void);" "other_sleep: in the header, but not promised")
expect_noticed(HEADER "${header}int korvane_sleep(void);"
    "korvane_sleep: in the header's declarations, but not promised")

string(REPLACE "korvane_stop;" "" text "${script}")
expect_noticed(VERSION_SCRIPT "${text}" "korvane_stop: promised, but not in the version script")
string(REPLACE "korvane_stop;" "korvane_stop; korvane_*;" text "${script}")
expect_noticed(VERSION_SCRIPT "${text}" "korvane_*: in the version script, but not promised")
