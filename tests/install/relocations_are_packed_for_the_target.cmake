# SPDX-License-Identifier: Apache-2.0
# cmake -D ROOT=<tree> -D WORK=<directory> -D GENERATOR=<generator> -D CC=<compiler> -D CXX=<compiler> -D READELF=<readelf>
#       -D PACKED=<whether this build packs relocations> -P relocations_are_packed_for_the_target.cmake
# A loader before glibc 2.36 cannot read packed relocations, so the C library of the target decides, not only the linker. The
# other C libraries are headers here; a small library is linked with the options of libkorvane.
include(${CMAKE_CURRENT_LIST_DIR}/run.cmake)

file(WRITE ${WORK}/source/CMakeLists.txt "
cmake_minimum_required(VERSION 3.25)
project(small LANGUAGES C CXX)
list(APPEND CMAKE_MODULE_PATH ${ROOT}/cmake)
include(KorvaneBuild)
add_library(small SHARED small.c)
target_link_options(small PRIVATE \${kv_small_link_options})
")
set(texts "")
foreach(i RANGE 99)
    string(APPEND texts "\"text ${i}\", ")
endforeach()
file(WRITE ${WORK}/source/small.c "
extern const char *const texts[];
__attribute__((visibility(\"default\"))) const char *const texts[] = {${texts}};
")
file(WRITE ${WORK}/old-glibc/features.h "
#include_next <features.h>
#undef __GLIBC_MINOR__
#define __GLIBC_MINOR__ 35
")
file(WRITE ${WORK}/no-glibc/features.h "")

# expect(<whether relocations are packed> <name> [<argument>...])
function(expect packed name)
    run(${CMAKE_COMMAND} -S ${WORK}/source -B ${WORK}/${name} -G ${GENERATOR} -D CMAKE_BUILD_TYPE=Release
        -D CMAKE_C_COMPILER=${CC} -D CMAKE_CXX_COMPILER=${CXX} ${ARGN})
    run(${CMAKE_COMMAND} --build ${WORK}/${name})
    execute_process(COMMAND ${READELF} --dynamic --wide ${WORK}/${name}/libsmall.so OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCH "RELR" found "${text}")
    if(found AND NOT packed OR packed AND NOT found)
        message(SEND_ERROR "${name}: relocations must be packed: ${packed}; the linker wrote\n${text}")
    endif()
endfunction()

expect(${PACKED} this-machine)
expect(OFF old-glibc "-DCMAKE_CXX_FLAGS=-isystem ${WORK}/old-glibc")
expect(OFF no-glibc "-DCMAKE_CXX_FLAGS=-isystem ${WORK}/no-glibc")
expect(OFF unwanted -D KORVANE_PACK_RELOCATIONS=OFF)
if(PACKED)
    expect(ON wanted "-DCMAKE_CXX_FLAGS=-isystem ${WORK}/no-glibc" -D KORVANE_PACK_RELOCATIONS=ON)
endif()
