# SPDX-License-Identifier: Apache-2.0
file(REMOVE_RECURSE ${FIRST} ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${FIRST} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
file(RENAME ${FIRST} ${PREFIX})
