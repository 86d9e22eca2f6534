# SPDX-License-Identifier: Apache-2.0
# korvanectl finds the installed scenarios by name, and the installed agent.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

set(test ${PREFIX}/bin/korvanectl test --agent-versions 1.0,2.3)
execute_process(COMMAND ${test} korvane:agent/start korvane:agent/restart -- ${WASHER} RESULT_VARIABLE result
    OUTPUT_VARIABLE output ERROR_VARIABLE output)
foreach(name agent/start@1.0 agent/start@2.3 agent/restart@1.0 agent/restart@2.3)
    if(NOT output MATCHES "passed  ${name}  ")
        message(FATAL_ERROR "${name} is missing, status ${result}:\n${output}")
    endif()
endforeach()

execute_process(COMMAND ${test} korvane:agnet -- ${WASHER} RESULT_VARIABLE result ERROR_VARIABLE error)
if(NOT result EQUAL 2 OR NOT error MATCHES "has no 'agnet'; did you mean 'agent'\\?")
    message(FATAL_ERROR "a mistyped name gives the status ${result}:\n${error}")
endif()

file(GLOB_RECURSE installed RELATIVE ${PREFIX}/share/korvane/scenarios ${PREFIX}/share/korvane/scenarios/*.json)
file(GLOB_RECURSE written RELATIVE ${ROOT}/scenarios ${ROOT}/scenarios/*.json)
if(NOT installed STREQUAL written OR NOT written)
    message(FATAL_ERROR "not all scenarios are installed")
endif()
run(${PREFIX}/bin/korvanectl test --filter hub/introduction@2.3 korvane:all -- ${HUB} --stay)
