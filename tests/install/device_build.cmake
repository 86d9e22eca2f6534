# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -D WORK=<directory> -D PKG_CONFIG=<pkg-config> -D CC=<compiler> -D CXX=<compiler>
#       -D GENERATOR=<generator> -P device_build.cmake
# A device needs the library and the host platform only. Both are configured, and the platform is built, with nothing but
# GLib and cJSON to be found. Then the same is configured with events, which need libsystemd as well, and with tests.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

# allow(<package>...) has pkg-config find only these packages and what they require.
function(allow)
    set(wanted ${ARGV})
    file(REMOVE_RECURSE ${WORK}/pkgconfig)
    while(wanted)
        list(POP_FRONT wanted package)
        if(EXISTS ${WORK}/pkgconfig/${package}.pc)
            continue()
        endif()
        execute_process(COMMAND ${PKG_CONFIG} --variable=pcfiledir ${package}
            OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
        file(COPY ${folder}/${package}.pc DESTINATION ${WORK}/pkgconfig)
        execute_process(COMMAND ${PKG_CONFIG} --print-requires --print-requires-private ${package}
            OUTPUT_VARIABLE required COMMAND_ERROR_IS_FATAL ANY)
        string(REGEX MATCHALL "[^\n]+" required "${required}")
        list(TRANSFORM required REPLACE " .*" "")
        list(APPEND wanted ${required})
    endwhile()
endfunction()

set(configure ${CMAKE_COMMAND} -E env --unset=PKG_CONFIG_PATH PKG_CONFIG_LIBDIR=${WORK}/pkgconfig
    ${CMAKE_COMMAND} -S ${ROOT} -G ${GENERATOR} -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX}
    -D PKG_CONFIG_EXECUTABLE=${PKG_CONFIG} -D CMAKE_BUILD_TYPE=MinSizeRel -D KORVANE_WERROR=ON
    -D KORVANE_BUILD_AGENT=OFF -D KORVANE_BUILD_TOOLS=OFF -D KORVANE_BUILD_EXAMPLES=OFF -D KORVANE_BUILD_TESTS=OFF
    -D CMAKE_DISABLE_FIND_PACKAGE_CLI11=ON -D CMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON
    -D CMAKE_DISABLE_FIND_PACKAGE_GTest=ON -D CMAKE_DISABLE_FIND_PACKAGE_OpenSSL=ON)

allow(glib-2.0 libcjson)
run(${configure} -B ${WORK}/without-events -D KORVANE_EVENTS=OFF)
run(${CMAKE_COMMAND} --build ${WORK}/without-events --target kvplatform)

execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK}/without-events --target help
    OUTPUT_VARIABLE targets COMMAND_ERROR_IS_FATAL ANY)
if(NOT targets MATCHES "\nkorvane: ")
    message(FATAL_ERROR "the library is no target of\n${targets}")
endif()
foreach(target IN ITEMS korvane-agent korvanectl korvane-test washer)
    if(targets MATCHES "\n${target}: ")
        message(SEND_ERROR "a device build has the target ${target}")
    endif()
endforeach()

# It installs no examples, which need the host platform in any case.
run(${configure} -B ${WORK}/own-platform -D KORVANE_PLATFORM=none -D KORVANE_BUILD_EXAMPLES=ON)
foreach(build IN ITEMS without-events own-platform)
    file(READ ${WORK}/${build}/cmake_install.cmake text)
    if(NOT text MATCHES "korvane.pc" OR text MATCHES "/examples")
        message(SEND_ERROR "${build}: ${WORK}/${build}/cmake_install.cmake installs examples, or not the library")
    endif()
endforeach()

# Its tests need no libsystemd either.
run(${configure} -B ${WORK}/tests-without-events -D KORVANE_EVENTS=OFF -D KORVANE_BUILD_TESTS=ON
    -D CMAKE_DISABLE_FIND_PACKAGE_GTest=OFF)

# Without libsystemd the default configuration fails, with it it succeeds.
execute_process(COMMAND ${configure} -B ${WORK}/with-events RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
if(result EQUAL 0)
    message(FATAL_ERROR "events were configured without libsystemd: the packages are not hidden")
endif()
allow(glib-2.0 libcjson libsystemd)
run(${configure} -B ${WORK}/with-events)
