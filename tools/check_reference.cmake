# SPDX-License-Identifier: Apache-2.0
# Fails when the committed reference page is not what the description gives. TOOL, PAGE.
execute_process(COMMAND ${TOOL} OUTPUT_VARIABLE made RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TOOL} failed: ${status}")
endif()
file(READ ${PAGE} committed)
if(NOT made STREQUAL committed)
    message(FATAL_ERROR "docs/reference/kv_master.md does not show the interface as it is described: run ./dev docs")
endif()
