# SPDX-License-Identifier: Apache-2.0
# Options against the exploitation of memory errors, for everything that is installed.
#
# kv_harden_program(<target>...)   programs, and libraries that only tests load
# kv_harden_library(<target>...)   libraries that applications load; their code is compiled with kv_device_code
#
# The options apply to every optimised build without sanitizers, which replace some of the same functions. tests/sturdy reads
# from the files of the release build that each took effect.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)

if(CMAKE_CXX_FLAGS MATCHES "-fsanitize=|--coverage")
    set(hardened 0)
else()
    set(hardened $<NOT:$<CONFIG:Debug>>)
endif()

# Level 3 also checks sizes that are known only at run time.
check_cxx_source_compiles("
    #if !defined(__has_builtin) || !__has_builtin(__builtin_dynamic_object_size)
    #error
    #endif
    int main() {}" KORVANE_HAS_DYNAMIC_OBJECT_SIZE)
set(fortify_level $<IF:$<BOOL:${KORVANE_HAS_DYNAMIC_OBJECT_SIZE}>,3,2>)
check_cxx_compiler_flag(-fstack-clash-protection KORVANE_HAS_STACK_CLASH_PROTECTION)
check_cxx_compiler_flag(-fcf-protection=full KORVANE_HAS_CF_PROTECTION)
check_linker_flag(CXX -Wl,-z,shstk KORVANE_MARKS_SHADOW_STACK)

# Options that cost neither size nor time.
add_library(kv_hardening INTERFACE)
target_compile_options(kv_hardening INTERFACE
    $<${hardened}:-U_FORTIFY_SOURCE> $<${hardened}:-D_FORTIFY_SOURCE=${fortify_level}>
    $<$<AND:${hardened},$<BOOL:${KORVANE_HAS_STACK_CLASH_PROTECTION}>>:-fstack-clash-protection>)
set(link_hardened $<${hardened}:-Wl,-z,relro,-z,now,-z,noexecstack>)

# Control-flow enforcement of the processor. Return addresses are checked against a shadow stack everywhere. Targets of
# indirect calls are marked in programs only: Linux does not check the marks of user code, and each costs the libraries an
# instruction per call. The linker is given the marks of the file, because the start files of some distributions lack them.
if(KORVANE_HAS_CF_PROTECTION AND KORVANE_MARKS_SHADOW_STACK)
    set(shadow_stack $<${hardened}:-fcf-protection=return>)
    set(link_shadow_stack $<${hardened}:-Wl,-z,shstk>)
    set(control_flow $<${hardened}:-fcf-protection=full>)
    set(link_control_flow $<${hardened}:-Wl,-z,ibt,-z,shstk>)
endif()

set(stack_protector $<${hardened}:-fstack-protector>)
set(strong_stack_protector $<${hardened}:-fstack-protector-strong>)

add_library(kv_program_hardening INTERFACE)
target_compile_options(kv_program_hardening INTERFACE ${strong_stack_protector} ${control_flow})
target_link_libraries(kv_program_hardening INTERFACE kv_hardening)

# All code may be loaded at any address, whether or not the compiler's default says so.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

function(kv_harden_program)
    foreach(target IN LISTS ARGN)
        target_link_libraries(${target} PRIVATE kv_program_hardening)
        target_link_options(${target} PRIVATE ${link_hardened} ${link_control_flow})
    endforeach()
endfunction()

function(kv_harden_library)
    foreach(target IN LISTS ARGN)
        target_link_options(${target} PRIVATE ${link_hardened} ${link_shadow_stack})
    endforeach()
endfunction()
