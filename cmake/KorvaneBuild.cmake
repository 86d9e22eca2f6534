# SPDX-License-Identifier: Apache-2.0
# Build options that all targets share: language level, warnings, and options for code in a device application.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# Programs find the libraries of the build by a path relative to their own. An absolute path would make the result depend on
# the directory of the build: installing blanks it, but keeps its length.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Warnings for all code of this tree.
add_library(kv_warnings INTERFACE)
target_compile_options(kv_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat -Wformat-security -Wundef -Wvla
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
    $<$<BOOL:${KORVANE_WERROR}>:-Werror>)

include(KorvaneHardening)

# Options for code that is linked into a device application: no exceptions and no RTTI, so that no C++ runtime is loaded.
add_library(kv_device_code INTERFACE)
target_compile_options(kv_device_code INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -ffunction-sections -fdata-sections ${shadow_stack}
    # An ABI check reads the types of exported functions from the debug information; the -g1 of the presets has none.
    $<$<CONFIG:RelWithDebInfo>:-g2>)
target_link_libraries(kv_device_code INTERFACE kv_warnings kv_hardening)

# Options that make the library small: on a device, flash and memory cost more than the few instructions per call that this
# adds. Nothing is unwound through the library, because no callback may throw; a debugger uses the debug information. -Oz and
# -malign-data=abi are used where the compiler has them: -Os is larger, and some compilers align tables to more than the ABI
# requires.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-Oz KORVANE_HAS_OZ)
check_cxx_compiler_flag(-malign-data=abi KORVANE_HAS_ALIGN_DATA)
# clang takes this option for every processor and only warns where it has no meaning.
set(CMAKE_REQUIRED_FLAGS -Werror)
check_cxx_compiler_flag(-mno-outline-atomics KORVANE_HAS_OUTLINE_ATOMICS)
unset(CMAKE_REQUIRED_FLAGS)
add_library(kv_small_code INTERFACE)
target_compile_options(kv_small_code INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:$<IF:$<BOOL:${KORVANE_HAS_OZ}>,-Oz,-Os>>
    $<$<BOOL:${KORVANE_HAS_ALIGN_DATA}>:-malign-data=abi>
    -fno-asynchronous-unwind-tables -fno-unwind-tables
    # On 64-bit ARM compilers keep a frame pointer otherwise, 2.8 kB of code; without tables nothing unwinds by it either.
    $<$<NOT:$<CONFIG:Debug>>:-fomit-frame-pointer>
    # The strong form also guards functions that pass the address of a local. Most exported functions do, and would become
    # 4.7 kB larger, so only the targets that decode another process's data have it: those with KV_DECODES.
    $<IF:$<BOOL:$<TARGET_PROPERTY:KV_DECODES>>,${strong_stack_protector},${stack_protector}>
    # Symbols are bound when the library is loaded, so a call through its table needs no stub. Elsewhere than on x86-64 such a
    # call takes several instructions, and the stubs are smaller.
    $<$<AND:${hardened},$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>>:-fno-plt>
    # Atomic operations in place instead of calls of functions that choose them when the program runs.
    $<$<BOOL:${KORVANE_HAS_OUTLINE_ATOMICS}>:-mno-outline-atomics>)
target_link_libraries(kv_small_code INTERFACE kv_device_code)

# Linker options that make the library small. Packed relocations take bits instead of 24 bytes for each address in a table, but
# the loader of the target must read them: glibc reads them since 2.36, musl since 1.2.4, uClibc-ng does not. Only glibc states
# its version at compile time. Code and constants share a segment, because padding both to whole pages is larger than some of
# them.
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
check_linker_flag(C -Wl,--fatal-warnings,-z,pack-relative-relocs KORVANE_LINKER_PACKS_RELOCATIONS)
check_cxx_source_compiles("
    #include <features.h>
    #ifndef __GLIBC_PREREQ
    #error
    #elif !__GLIBC_PREREQ(2, 36)
    #error
    #endif
    int main() {}" KORVANE_LOADER_READS_PACKED_RELOCATIONS)
set(pack_relocations OFF)
if(KORVANE_LINKER_PACKS_RELOCATIONS AND KORVANE_LOADER_READS_PACKED_RELOCATIONS)
    set(pack_relocations ON)
endif()
option(KORVANE_PACK_RELOCATIONS "Pack the relocations of the library; the device's loader must read them" ${pack_relocations})
if(KORVANE_PACK_RELOCATIONS AND NOT KORVANE_LINKER_PACKS_RELOCATIONS)
    message(FATAL_ERROR "The linker does not know -z pack-relative-relocs; use another linker, or set KORVANE_PACK_RELOCATIONS=OFF")
endif()
check_linker_flag(C -Wl,-z,noseparate-code KORVANE_SHARES_SEGMENTS)
# The start files run constructors of old compilers and destructors of static objects. The library has neither; a static
# object with a destructor would not link.
set(kv_small_link_options
    $<$<BOOL:${KORVANE_PACK_RELOCATIONS}>:-Wl,-z,pack-relative-relocs>
    $<$<BOOL:${KORVANE_SHARES_SEGMENTS}>:-Wl,-z,noseparate-code>
    $<${hardened}:-nostartfiles>)

# A shared library links only if every symbol it uses is defined. clang links the sanitizers' runtime into the program
# and not into its libraries, so a library built by clang for a sanitizer always has undefined symbols.
if(NOT (CMAKE_C_COMPILER_ID MATCHES Clang AND CMAKE_C_FLAGS MATCHES -fsanitize=))
    set(kv_no_undefined_symbols -Wl,-z,defs)
endif()
