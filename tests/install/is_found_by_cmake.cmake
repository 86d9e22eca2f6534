# SPDX-License-Identifier: Apache-2.0
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

set(arguments -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${PREFIX} -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX}
    -D CMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
set(flags "-DCMAKE_C_FLAGS=${C_FLAGS}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")

function(build name source)
    run(${CMAKE_COMMAND} -S ${source} -B ${WORK}/${name} ${arguments} ${flags} ${ARGN})
    run(${CMAKE_COMMAND} --build ${WORK}/${name})
endfunction()

build(outside ${SOURCE}/outside -D WANTED_VERSION=${VERSION})
foreach(program outside-c outside-cpp outside-test-c outside-test-cpp outside-util-c outside-util-cpp)
    run_application(${WORK}/outside/${program})
endforeach()

# A request for a later minor version or another major version must fail.
string(REPLACE "." ";" parts ${VERSION})
list(GET parts 0 major)
list(GET parts 1 minor)
math(EXPR next_major "${major} + 1")
math(EXPR next_minor "${minor} + 1")
foreach(version ${major}.${next_minor} ${next_major}.0)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -S ${SOURCE}/outside -B ${WORK}/refused-${version} ${arguments} -D WANTED_VERSION=${version}
        RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
    if(result EQUAL 0)
        message(FATAL_ERROR "version ${VERSION} was accepted as ${version}")
    endif()
endforeach()

# The examples, built as the documentation shows.
foreach(name first-device washer hub sensor)
    file(GLOB example ${PREFIX}/share/doc/*/examples/${name})
    build(${name} ${example})
endforeach()
