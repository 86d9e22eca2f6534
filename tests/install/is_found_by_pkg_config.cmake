# SPDX-License-Identifier: Apache-2.0
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/${LIBDIR}/pkgconfig)

function(ask_pkg_config found)
    execute_process(COMMAND ${PKG_CONFIG} ${ARGN} OUTPUT_VARIABLE answer OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(answer UNIX_COMMAND "${answer}")
    set(${found} ${answer} PARENT_SCOPE)
endfunction()

foreach(package korvane korvane-util kvplatform korvane-test)
    run(${PKG_CONFIG} --validate ${package})
    ask_pkg_config(version --modversion ${package})
    if(NOT version STREQUAL VERSION)
        message(FATAL_ERROR "${package}.pc says version ${version}, not ${VERSION}")
    endif()
endforeach()

separate_arguments(c_flags UNIX_COMMAND "${C_FLAGS}")
separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")

# build(<program> <package>...) builds outside/<program>.c and .cpp with the flags of the packages.
function(build program)
    ask_pkg_config(flags --cflags --libs ${ARGN})
    set(warnings -Wall -Wextra -Wpedantic -Werror)
    run(${CC} -std=c99 ${c_flags} ${warnings} ${SOURCE}/outside/${program}.c -o ${WORK}/${program}-c ${flags})
    run(${CXX} -std=c++17 ${cxx_flags} ${warnings} ${SOURCE}/outside/${program}.cpp -o ${WORK}/${program}-cpp ${flags})
endfunction()

build(outside korvane)
build(outside-test korvane korvane-test)
build(outside-util korvane-util glib-2.0)
foreach(program outside-c outside-cpp outside-test-c outside-test-cpp outside-util-c outside-util-cpp)
    run_application(${WORK}/${program} ${PREFIX}/${LIBDIR})
endforeach()
