# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -D WORK=<directory> -D PKG_CONFIG=<pkg-config> -D CC=<compiler> -D CXX=<compiler> -D GENERATOR=<generator>
#       -P pkg_config_knows_absolute_directories.cmake
# The directories of headers and libraries may be absolute; the files for pkg-config then name them as they are.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

# expect(<directory of headers> <directory of libraries> <folder of the files> [<argument>...])
# Configures with the arguments, copies the files for pkg-config to this folder of another prefix, and asks pkg-config.
function(expect includedir libdir folder)
    set(pkg_config_dir ${WORK}/moved/${folder}/pkgconfig)
    file(REMOVE_RECURSE ${WORK}/build ${WORK}/moved)
    run(${CMAKE_COMMAND} -S ${ROOT} -B ${WORK}/build -G ${GENERATOR} -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX}
        -D CMAKE_INSTALL_PREFIX=/opt/prefix -D KORVANE_BUILD_AGENT=OFF -D KORVANE_BUILD_TOOLS=OFF
        -D KORVANE_BUILD_EXAMPLES=OFF -D KORVANE_BUILD_PYTHON=OFF -D KORVANE_BUILD_TESTS=OFF -D KORVANE_EVENTS=OFF ${ARGN})
    file(GLOB files ${WORK}/build/*.pc)
    file(COPY ${files} DESTINATION ${pkg_config_dir})
    list(JOIN ARGN " " arguments)
    foreach(package IN ITEMS korvane korvane-util kvplatform)
        set(wanted "${includedir}")
        if(package STREQUAL kvplatform)
            string(APPEND wanted /korvane-platform)
        endif()
        list(APPEND wanted ${libdir})
        set(found "")
        foreach(variable IN ITEMS includedir libdir)
            execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pkg_config_dir}
                ${PKG_CONFIG} --variable=${variable} ${package}
                OUTPUT_VARIABLE directory OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
            cmake_path(NORMAL_PATH directory)
            list(APPEND found ${directory})
        endforeach()
        if(NOT found STREQUAL wanted)
            message(SEND_ERROR "${arguments}: ${package}.pc names ${found} instead of ${wanted}")
        endif()
    endforeach()
endfunction()

expect(/opt/headers /opt/libraries lib -D CMAKE_INSTALL_INCLUDEDIR=/opt/headers -D CMAKE_INSTALL_LIBDIR=/opt/libraries)
expect(/opt/prefix/include /opt/libraries lib -D CMAKE_INSTALL_INCLUDEDIR=include -D CMAKE_INSTALL_LIBDIR=/opt/libraries)
# Relative directories follow the file.
expect(/opt/headers ${WORK}/moved/lib/multiarch lib/multiarch
    -D CMAKE_INSTALL_INCLUDEDIR=/opt/headers -D CMAKE_INSTALL_LIBDIR=lib/multiarch)
expect(${WORK}/moved/include ${WORK}/moved/lib lib -D CMAKE_INSTALL_INCLUDEDIR=include -D CMAKE_INSTALL_LIBDIR=lib)
