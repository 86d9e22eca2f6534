# SPDX-License-Identifier: Apache-2.0
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)

function(ask_pkg_config found)
    execute_process(COMMAND ${PKG_CONFIG} ${ARGN} OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(answer UNIX_COMMAND "${answer}")
    set(${found} ${answer} PARENT_SCOPE)
endfunction()

foreach(package korvane kvplatform)
    run(${PKG_CONFIG} --validate ${package})
    ask_pkg_config(version --modversion ${package})
    if(NOT version STREQUAL VERSION)
        message(FATAL_ERROR "${package}.pc says version ${version}, not ${VERSION}")
    endif()
endforeach()

ask_pkg_config(flags --cflags --libs korvane)
separate_arguments(c_flags UNIX_COMMAND "${C_FLAGS}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
set(warnings -Wall -Wextra -Wpedantic -Werror)
run(${CC} -std=c99 ${c_flags} ${warnings} ${SOURCE}/outside/outside.c -o ${WORK}/outside-c ${flags})
run(${CXX} -std=c++17 ${cxx_flags} ${warnings} ${SOURCE}/outside/outside.cpp -o ${WORK}/outside-cpp ${flags})
run_application(${WORK}/outside-c ${PREFIX}/${LIBDIR})
run_application(${WORK}/outside-cpp ${PREFIX}/${LIBDIR})
