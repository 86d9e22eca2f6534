# SPDX-License-Identifier: Apache-2.0
# korvane_example(<name> SOURCES <file>... [PACKAGES <pkg-config name>...])
#
# Builds an application in C99, inside the tree or against an installed Korvane.

find_package(PkgConfig REQUIRED)
if(PROJECT_IS_TOP_LEVEL)
    find_package(korvane REQUIRED)
endif()

function(korvane_example name)
    cmake_parse_arguments(arg "" "" "SOURCES;PACKAGES" ${ARGN})
    add_executable(${name} ${arg_SOURCES} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/application.c)
    set_target_properties(${name} PROPERTIES C_STANDARD 99)
    foreach(package IN ITEMS glib-2.0 LISTS arg_PACKAGES)
        string(MAKE_C_IDENTIFIER example_${package} prefix)
        pkg_check_modules(${prefix} REQUIRED IMPORTED_TARGET ${package})
        target_link_libraries(${name} PRIVATE PkgConfig::${prefix})
    endforeach()
    target_link_libraries(${name} PRIVATE korvane::korvane korvane::korvane-util)
    if(TARGET kv_warnings)
        target_link_libraries(${name} PRIVATE kv_warnings)
    endif()
endfunction()
