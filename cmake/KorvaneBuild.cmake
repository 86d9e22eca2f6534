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
# debugger finds its frames in the debug information.
add_library(kv_small_code INTERFACE)
target_compile_options(kv_small_code INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-Os>
    -fno-asynchronous-unwind-tables -fno-unwind-tables)
target_link_libraries(kv_small_code INTERFACE kv_device_code)
