# SPDX-License-Identifier: Apache-2.0
# What every target of the tree shares: language level, warnings, and what the library does without.

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# Everything of ours is compiled with these.
add_library(kv_warnings INTERFACE)
target_compile_options(kv_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat -Wformat-security -Wundef -Wvla
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
    $<$<BOOL:${KORVANE_WERROR}>:-Werror>)

# What is linked into a device application: no exceptions, no RTTI, and so no C++ runtime to load.
add_library(kv_device_code INTERFACE)
target_compile_options(kv_device_code INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
    -ffunction-sections -fdata-sections)
target_link_libraries(kv_device_code INTERFACE kv_warnings)

# The library itself is kept small: flash and memory of a device are dearer than the few instructions that this costs a
# call. Nothing is unwound through it, neither by an exception, which no callback may throw, nor by anything else; a
# debugger finds its frames in the debug information. Some compilers make less than this of -Os, or round the places of
# tables up.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-Oz KORVANE_HAS_OZ)
check_cxx_compiler_flag(-malign-data=abi KORVANE_HAS_ALIGN_DATA)
add_library(kv_small_code INTERFACE)
target_compile_options(kv_small_code INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:$<IF:$<BOOL:${KORVANE_HAS_OZ}>,-Oz,-Os>>
    $<$<BOOL:${KORVANE_HAS_ALIGN_DATA}>:-malign-data=abi>
    -fno-asynchronous-unwind-tables -fno-unwind-tables)
target_link_libraries(kv_small_code INTERFACE kv_device_code)

# Its tables hold addresses, which all move by the same: packed, their relocations take bits instead of 24 bytes each
# (the loader needs glibc 2.36). Code and constants share a segment, as is usual on other processors: filling both up to
# whole pages would take more than some of the parts.
include(CheckLinkerFlag)
check_linker_flag(C -Wl,-z,pack-relative-relocs KORVANE_PACKS_RELOCATIONS)
check_linker_flag(C -Wl,-z,noseparate-code KORVANE_SHARES_SEGMENTS)
set(kv_small_link_options
    $<$<BOOL:${KORVANE_PACKS_RELOCATIONS}>:-Wl,-z,pack-relative-relocs>
    $<$<BOOL:${KORVANE_SHARES_SEGMENTS}>:-Wl,-z,noseparate-code>)

# A shared library links only if every symbol it uses is defined. clang links the sanitizers' runtime into the program
# and not into its libraries, so a library built by clang for a sanitizer always has undefined symbols.
if(NOT (CMAKE_C_COMPILER_ID MATCHES Clang AND CMAKE_C_FLAGS MATCHES -fsanitize=))
    set(kv_no_undefined_symbols -Wl,-z,defs)
endif()
