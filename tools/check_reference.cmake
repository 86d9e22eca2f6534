# SPDX-License-Identifier: Apache-2.0
# Fails when the committed reference page is not what its program prints. TOOL, PAGE.
execute_process(COMMAND ${TOOL} OUTPUT_VARIABLE made RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TOOL} failed: ${status}")
endif()
file(READ ${PAGE} committed)
if(NOT made STREQUAL committed)
    message(FATAL_ERROR "${PAGE} does not show what is there: run ./dev docs")
endif()
