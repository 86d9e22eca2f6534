# SPDX-License-Identifier: Apache-2.0
# Helpers of the scripts beside.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/no-packages)

# run(<command>...) fails the test, with everything the command said, when the command fails.
function(run)
    execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE said ERROR_VARIABLE said)
    if(NOT result EQUAL 0)
        list(JOIN ARGV " " line)
        message(FATAL_ERROR "${line}\nended with ${result}:\n${said}")
    endif()
endfunction()

# run_application(<program>) runs a program of an outside project where no agent is installed.
function(run_application program)
    run(${CMAKE_COMMAND} -E env KORVANE_PACKAGE_DIR=${WORK}/no-packages LD_LIBRARY_PATH=${ARGN} ${program})
endfunction()
