# SPDX-License-Identifier: Apache-2.0
# Debian's cross-compilers, with a sysroot in CMAKE_SYSROOT. The file of an architecture includes this one and sets before:
#   kv_processor  the name of the processor, as `uname -m` prints it
#   kv_compiler   the prefix of the compilers
#   kv_libraries  the folder of the libraries below usr/lib
#   kv_emulator   the program that runs the tests
#   kv_linker     optional, the package of a linker that packs relocations; GNU ld 2.40 does so for x86 only
#
# cmake --toolchain cmake/toolchains/arm64.cmake -D CMAKE_SYSROOT=<directory> ... builds for a sysroot of your own.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${kv_processor})
set(CMAKE_C_COMPILER ${kv_compiler}-gcc)
set(CMAKE_CXX_COMPILER ${kv_compiler}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${kv_libraries})

# Without that package the build uses GNU ld, and a library for a 64-bit processor is about 11 kB larger. With
# -O2 the linker shares the common ends of texts.
string(REPLACE "lld-" "/usr/lib/llvm-" kv_linker_dir "${kv_linker}")
if(kv_linker AND EXISTS ${kv_linker_dir}/bin/ld.lld)
    foreach(kind EXE SHARED MODULE)
        set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -B${kv_linker_dir}/bin -Wl,-O2")
    endforeach()
endif()

# Programs are of this machine, everything else is of the sysroot.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${kv_libraries}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
# The compiler searches this directory by itself, after its own headers of the C library, which may be older than the sysroot's.
set(ENV{PKG_CONFIG_SYSTEM_INCLUDE_PATH} /usr/include:${CMAKE_SYSROOT}/usr/include)

# The emulator looks for the loader and the libraries of a program in the sysroot.
set(CMAKE_CROSSCOMPILING_EMULATOR ${kv_emulator} -L ${CMAKE_SYSROOT})
