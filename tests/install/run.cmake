# SPDX-License-Identifier: Apache-2.0
# Functions for the scripts in this folder.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/no-packages)

# run(<command>...) runs a command. If it fails, the test fails with its output.
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        list(JOIN ARGV " " line)
        message(FATAL_ERROR "${line}\nended with ${result}:\n${output}")
    endif()
endfunction()

# run_application(<program> [<library directory>]) runs a program of an outside project without an installed agent. The tests
# of that project start the agent in the installed tree.
function(run_application program)
    run(${CMAKE_COMMAND} -E env KORVANE_PACKAGE_DIR=${WORK}/no-packages KORVANE_AGENT=${PREFIX}/bin/korvane-agent
        LD_LIBRARY_PATH=${ARGN} ${program})
endfunction()
