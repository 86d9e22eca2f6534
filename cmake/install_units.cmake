# SPDX-License-Identifier: Apache-2.0
# Runs in `cmake --install`, after the units for systemd were installed. These name the program in the prefix of the configuration;
# for another prefix this script writes them again. KorvaneInstall.cmake sets kv_units, kv_unit_templates, kv_unit_bindir and
# kv_unit_prefix.
if(NOT CMAKE_INSTALL_PREFIX STREQUAL kv_unit_prefix)
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX OUTPUT_VARIABLE prefix)
    cmake_path(ABSOLUTE_PATH kv_unit_bindir BASE_DIRECTORY ${prefix} NORMALIZE OUTPUT_VARIABLE CMAKE_INSTALL_FULL_BINDIR)
    foreach(unit IN LISTS kv_units)
        configure_file(${kv_unit_templates}/${unit}.in $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/systemd/${unit} @ONLY)
    endforeach()
endif()
