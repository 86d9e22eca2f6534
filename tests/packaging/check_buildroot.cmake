# SPDX-License-Identifier: Apache-2.0
# cmake -D MAKE=<make> -D VERSION=<version> -D PACKAGING=<directory> -P check_buildroot.cmake
# The makefile for Buildroot gives CMake the options that follow from the choices of the menu.
cmake_minimum_required(VERSION 3.25)

# expect(<words that must be there> <words that must not> [<choice>=y...])
function(expect wanted unwanted)
    execute_process(
        COMMAND ${MAKE} --no-print-directory -f ${PACKAGING}/buildroot/package/korvane/korvane.mk --warn-undefined-variables
            cmake-package= BR2_EXTERNAL_KORVANE_PATH=/external BR2_PACKAGE_KORVANE_HOST_PLATFORM= BR2_PACKAGE_KORVANE_EVENTS=
            ${ARGN} "--eval=print: ; @echo $(KORVANE_SITE)/$(KORVANE_SOURCE) $(KORVANE_CONF_OPTS) $(KORVANE_DEPENDENCIES)" print
        OUTPUT_VARIABLE words ERROR_VARIABLE error RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR error)
        message(FATAL_ERROR "make ends with ${result}: ${error}")
    endif()
    string(REGEX REPLACE "[ \n]+" ";" words "${words}")
    foreach(word IN LISTS wanted)
        if(NOT word IN_LIST words)
            message(SEND_ERROR "with '${ARGN}' the makefile lacks ${word}: ${words}")
        endif()
    endforeach()
    foreach(word IN LISTS unwanted)
        if(word IN_LIST words)
            message(SEND_ERROR "with '${ARGN}' the makefile has ${word}: ${words}")
        endif()
    endforeach()
endfunction()

set(always /external/archives/korvane-${VERSION}.tar.xz cjson libglib2 -DKORVANE_BUILD_AGENT=OFF -DKORVANE_BUILD_TESTS=OFF)
expect("${always};-DKORVANE_PLATFORM=none;-DKORVANE_EVENTS=OFF" "systemd")
expect("${always};-DKORVANE_PLATFORM=host;-DKORVANE_EVENTS=OFF" "systemd" BR2_PACKAGE_KORVANE_HOST_PLATFORM=y)
expect("${always};-DKORVANE_PLATFORM=host;-DKORVANE_EVENTS=ON;systemd" "-DKORVANE_EVENTS=OFF"
    BR2_PACKAGE_KORVANE_HOST_PLATFORM=y BR2_PACKAGE_KORVANE_EVENTS=y)
