# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -D VERSION=<version> -D WORK=<directory> -P check_notices.cmake
# check.cmake reports each of these changes of a copy of packaging/.
cmake_minimum_required(VERSION 3.25)
function(must_fail file from to message)
    file(REMOVE_RECURSE ${WORK}/packaging)
    file(COPY ${ROOT}/packaging DESTINATION ${WORK})
    file(READ ${WORK}/packaging/${file} text)
    string(REPLACE "${from}" "${to}" changed "${text}")
    if(changed STREQUAL text)
        message(FATAL_ERROR "${file} does not contain '${from}'")
    endif()
    file(WRITE ${WORK}/packaging/${file} "${changed}")
    execute_process(
        COMMAND ${CMAKE_COMMAND} -D ROOT=${ROOT} -D VERSION=${VERSION} -D PACKAGING=${WORK}/packaging
            -P ${CMAKE_CURRENT_LIST_DIR}/check.cmake
        RESULT_VARIABLE result ERROR_VARIABLE error)
    string(REGEX REPLACE "[ \n]+" " " error "${error}")
    if(result EQUAL 0 OR NOT error MATCHES "${message}")
        message(SEND_ERROR "with '${to}' in ${file} the check ends with ${result}: ${error}")
    endif()
endfunction()

must_fail(yocto/korvane_${VERSION}.bb KORVANE_BUILD_AGENT KORVANE_BUILD_AGENTS "names the option KORVANE_BUILD_AGENTS")
must_fail(yocto/korvane_${VERSION}.bb "md5=" "md5=0" "has another checksum")
must_fail(buildroot/package/korvane/korvane.mk "KORVANE_VERSION = " "KORVANE_VERSION = 1" "names KORVANE_VERSION = 1")
must_fail(buildroot/package/korvane/korvane.mk -DKORVANE_EVENTS=ON -DKORVANE_EVENT=ON "names the option KORVANE_EVENT,")
