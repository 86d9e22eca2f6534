# SPDX-License-Identifier: Apache-2.0
# cmake -D TOOL=<program> [-D EMULATOR=<program and arguments>] -D PAGE=<file> -P check_reference.cmake
# Fails if the committed page differs from the program's output.
separate_arguments(EMULATOR)
execute_process(COMMAND ${EMULATOR} ${TOOL} OUTPUT_VARIABLE made RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TOOL} failed: ${status}")
endif()
file(READ ${PAGE} committed)
if(NOT made STREQUAL committed)
    message(FATAL_ERROR "${PAGE} is out of date: run ./dev docs")
endif()
