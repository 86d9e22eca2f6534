# SPDX-License-Identifier: Apache-2.0
# The installed units for systemd are valid, and the service of the system is rated at most 1.0 of 10.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)
set(system ${PREFIX}/lib/systemd/system)
set(user ${PREFIX}/lib/systemd/user)
foreach(folder IN ITEMS ${system} ${user})
    foreach(unit korvane-agent.service korvane-agent.socket)
        if(NOT EXISTS ${folder}/${unit})
            message(FATAL_ERROR "${folder}/${unit} is not installed")
        endif()
        # The units name the prefix of the installation, which was moved after it; systemd checks that the program exists.
        file(READ ${folder}/${unit} text)
        string(REPLACE "=${FIRST}/bin/korvane-agent" "=${PREFIX}/bin/korvane-agent" moved "${text}")
        if(moved STREQUAL text)
            message(FATAL_ERROR "${folder}/${unit} does not run ${FIRST}/bin/korvane-agent")
        endif()
        cmake_path(GET folder FILENAME kind)
        file(WRITE ${WORK}/${kind}/${unit} "${moved}")
    endforeach()
endforeach()

# verify(<argument>...): a mistake in a unit is a warning, and the status 0. Other units of this machine do not matter.
function(verify)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env XDG_RUNTIME_DIR=${WORK} ${SYSTEMD_ANALYZE} verify --man=no ${ARGN}
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0 OR output MATCHES "korvane")
        message(FATAL_ERROR "systemd-analyze verify ${ARGN}\nended with ${result}:\n${output}")
    endif()
endfunction()
verify(${WORK}/system/korvane-agent.service ${WORK}/system/korvane-agent.socket)
verify(--user ${WORK}/user/korvane-agent.service ${WORK}/user/korvane-agent.socket)
# The threshold is ten times the rating.
run(${SYSTEMD_ANALYZE} security --offline=true --threshold=10 --no-pager ${WORK}/system/korvane-agent.service)
