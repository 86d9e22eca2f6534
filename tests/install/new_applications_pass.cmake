# SPDX-License-Identifier: Apache-2.0
# What the installed korvanectl writes is built, and its tests pass, at once.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

set(environment ${CMAKE_COMMAND} -E env PATH=${PREFIX}/bin:$ENV{PATH} KORVANE_AGENT=${PREFIX}/bin/korvane-agent
    PYTHONPATH=${PREFIX}/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 LD_LIBRARY_PATH=${PREFIX}/${LIBDIR})
set(ctl ${PREFIX}/bin/korvanectl)

function(init language)
    execute_process(COMMAND ${ctl} init my-lamp --language ${language} WORKING_DIRECTORY ${WORK}/${language}
        COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

foreach(language c c++)
    set(folder ${WORK}/${language})
    file(MAKE_DIRECTORY ${folder})
    init(${language})
    run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${folder}/my-lamp -B ${folder}/build -D CMAKE_PREFIX_PATH=${PREFIX}
        -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX} -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF
        "-DCMAKE_C_FLAGS=${C_FLAGS} -Wall -Wextra -Wpedantic -Werror" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS} -Wall -Wextra -Wpedantic -Werror")
    run(${CMAKE_COMMAND} --build ${folder}/build)
    run(${environment} ${CMAKE_CTEST_COMMAND} --test-dir ${folder}/build --output-on-failure)

    # A device that sends another network fails all three tests.
    file(GLOB device ${folder}/my-lamp/device.c ${folder}/my-lamp/device.cpp)
    file(READ ${device} content)
    string(REPLACE "\"home\"" "\"away\"" content "${content}")
    file(WRITE ${device} "${content}")
    run(${CMAKE_COMMAND} --build ${folder}/build)
    execute_process(COMMAND ${environment} ${CMAKE_CTEST_COMMAND} --test-dir ${folder}/build
        OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT output MATCHES "0% tests passed, 3 tests failed out of 3")
        message(FATAL_ERROR "the tests of a broken device in ${language} pass:\n${output}")
    endif()
endforeach()

# The commands that it prints work as they are, in an environment without variables for this prefix.
foreach(language c c++ python)
    if(language STREQUAL python AND NOT PYTHON STREQUAL /usr/bin/python3)
        continue()
    endif()
    set(folder ${WORK}/printed-${language})
    file(MAKE_DIRECTORY ${folder})
    execute_process(COMMAND ${ctl} init my-lamp --language ${language} WORKING_DIRECTORY ${folder}
        COMMAND_ERROR_IS_FATAL ANY OUTPUT_VARIABLE output)
    string(REGEX MATCHALL "\n  [^\n]+" commands "${output}")
    list(JOIN commands " &&" commands)
    run(${CMAKE_COMMAND} -E env --unset=PYTHONPATH --unset=LD_LIBRARY_PATH --unset=CMAKE_PREFIX_PATH CC=${CC} CXX=${CXX}
        PYTHONDONTWRITEBYTECODE=1 sh -c "cd '${folder}' && ${commands}")
endforeach()

if(PYTHON)
    file(MAKE_DIRECTORY ${WORK}/python)
    init(python)
    set(folder ${WORK}/python/my-lamp)
    run(${environment} ${PYTHON} -m pytest -p no:cacheprovider --rootdir ${folder} ${folder})
    foreach(version 1.0 2.3)
        run(${environment} ${ctl} run --agent-version ${version} ${folder}/scenario.json -- ${PYTHON} ${folder}/main.py)
    endforeach()
endif()

# refused(<status> <text> <word>...)
function(refused status text)
    execute_process(COMMAND ${ctl} init ${ARGN} WORKING_DIRECTORY ${WORK}/c
        RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error)
    string(FIND "${error}" "${text}" found)
    if(NOT result EQUAL ${status} OR found EQUAL -1 OR NOT output STREQUAL "")
        message(FATAL_ERROR "init ${ARGN} ended with ${result}:\n${output}${error}")
    endif()
endfunction()
refused(1 "cannot create the directory 'my-lamp': File exists; choose another name, or remove it" my-lamp)
foreach(name My-Lamp 2lamps lamp- "a lamp" ../lamp)
    refused(2 "'${name}' cannot be the name of an application; use up to 40 lower-case letters, digits and '-', beginning with a letter" "${name}")
endforeach()
refused(2 "unknown value 'rust' (one of: c, c++, python)" lamp --language rust)
file(GLOB left ${WORK}/c/*)
if(NOT left STREQUAL "${WORK}/c/build;${WORK}/c/my-lamp")
    message(FATAL_ERROR "a refused 'init' left ${left}")
endif()
