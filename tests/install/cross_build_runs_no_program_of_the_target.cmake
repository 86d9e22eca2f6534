# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -D WORK=<directory> -D CC=<compiler> -D CXX=<compiler>
#       -P cross_build_runs_no_program_of_the_target.cmake
# A cross build without an emulator can build everything. It is configured with the compiler of this machine, and ninja prints the
# commands that it would run.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

# programs(<variable> [<argument>...]) sets the variable to the programs of the build that the build itself would run.
function(programs found)
    run(${CMAKE_COMMAND} -S ${ROOT} -B ${WORK}/cross -G Ninja -D CMAKE_SYSTEM_NAME=Linux -D CMAKE_C_COMPILER=${CC}
        -D CMAKE_CXX_COMPILER=${CXX} -D KORVANE_BUILD_TESTS=OFF -D KORVANE_BUILD_PYTHON=OFF ${ARGN})
    execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/cross -- -t commands all
        OUTPUT_VARIABLE commands COMMAND_ERROR_IS_FATAL ANY)
    foreach(target IN ITEMS korvanectl korvane-agent describe-interface)
        if(NOT commands MATCHES "-o [^ ]*/${target}[ \n]")
            message(FATAL_ERROR "the build does not link ${target}:\n${commands}")
        endif()
    endforeach()
    string(REGEX MATCHALL "&& (/usr/bin/env )?[^ \n]*(korvane|describe-)[^ \n]* " run "${commands}")
    set(${found} "${run}" PARENT_SCOPE)
endfunction()

programs(without)
if(without)
    message(SEND_ERROR "a cross build runs ${without}")
endif()
# With an emulator it has the dissector.
programs(with -U KORVANE_BUILD_DISSECTOR -D CMAKE_CROSSCOMPILING_EMULATOR=/usr/bin/env)
if(NOT with MATCHES "/describe-dissector")
    message(SEND_ERROR "with an emulator a cross build runs only '${with}'")
endif()
