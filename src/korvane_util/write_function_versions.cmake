# SPDX-License-Identifier: Apache-2.0
# cmake -D PAGE=<functions.md> -D OUTPUT=<file> -P write_function_versions.cmake
# Writes a row {"name", lowest version} for each function of the page, sorted by name.

cmake_minimum_required(VERSION 3.25)

file(STRINGS "${PAGE}" lines REGEX "^\\| `korvane_")
set(rows "")
foreach(line IN LISTS lines)
    if(NOT line MATCHES "^\\| `([a-z0-9_]+)` \\| [^|]+ \\| (any|([0-9]+)\\.([0-9]+)) \\|")
        message(FATAL_ERROR "${PAGE}: the row of a function has another form: ${line}")
    endif()
    set(lowest 0)
    if(NOT CMAKE_MATCH_2 STREQUAL "any")
        math(EXPR lowest "1000 * ${CMAKE_MATCH_3} + ${CMAKE_MATCH_4}")
    endif()
    list(APPEND rows "{\"${CMAKE_MATCH_1}\", ${lowest}},")
endforeach()
list(SORT rows)
list(JOIN rows "\n" text)
file(WRITE "${OUTPUT}" "${text}\n")
