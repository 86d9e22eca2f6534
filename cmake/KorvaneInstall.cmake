# SPDX-License-Identifier: Apache-2.0
# Installs Korvane, with files for pkg-config and CMake. The installed tree can be moved.

include(CMakePackageConfigHelpers)

set(platform_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/korvane-platform)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/korvane)

target_include_directories(korvane INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(korvane-util INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(kv_platform_api INTERFACE $<INSTALL_INTERFACE:${platform_include_dir}>)
set_target_properties(kv_platform_api PROPERTIES EXPORT_NAME platform_api)

# A relative rpath lets programs and libraries find each other in a prefix that was moved. A distribution installs to the
# loader's default directories and disables the rpath with CMAKE_SKIP_INSTALL_RPATH.
set_target_properties(korvane korvane-util PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS korvane korvane-util kv_platform_api EXPORT korvane-targets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ TYPE INCLUDE FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/bindings/cpp/include/ TYPE INCLUDE)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${platform_include_dir} FILES_MATCHING PATTERN *.h)
set(pkg_config_packages korvane korvane-util)

if(TARGET kvplatform)
    install(TARGETS kvplatform EXPORT korvane-targets)
    list(APPEND pkg_config_packages kvplatform)
endif()
file(RELATIVE_PATH from_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
foreach(program korvane-agent korvanectl)
    if(TARGET ${program})
        set_target_properties(${program} PROPERTIES INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
        install(TARGETS ${program})
    endif()
endforeach()
if(TARGET korvane-agent)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/korvane-agent.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/korvane-package.5 ${PROJECT_SOURCE_DIR}/docs/man/korvane-scenario.5
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/man/korvane.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)
    set(units system/korvane-agent.service system/korvane-agent.socket user/korvane-agent.service user/korvane-agent.socket)
    foreach(unit IN LISTS units)
        configure_file(${PROJECT_SOURCE_DIR}/agent/systemd/${unit}.in ${PROJECT_BINARY_DIR}/systemd/${unit} @ONLY)
    endforeach()
    install(DIRECTORY ${PROJECT_BINARY_DIR}/systemd/system ${PROJECT_BINARY_DIR}/systemd/user DESTINATION lib/systemd)
    install(CODE "
        set(kv_units \"${units}\")
        set(kv_unit_templates \"${PROJECT_SOURCE_DIR}/agent/systemd\")
        set(kv_unit_bindir \"${CMAKE_INSTALL_BINDIR}\")
        set(kv_unit_prefix \"${CMAKE_INSTALL_PREFIX}\")")
    install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/install_units.cmake)
    install(FILES ${PROJECT_SOURCE_DIR}/agent/systemd/korvane-agent.sysusers DESTINATION lib/sysusers.d
        RENAME korvane-agent.conf)
endif()
if(TARGET korvane-test)
    install(TARGETS korvane-test EXPORT korvane-targets)
    install(FILES ${PROJECT_SOURCE_DIR}/testing/korvane_test.h ${PROJECT_SOURCE_DIR}/testing/korvane_test.hpp TYPE INCLUDE)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/testing/example DESTINATION ${CMAKE_INSTALL_DOCDIR}/testing)
    list(APPEND pkg_config_packages korvane-test)
endif()
if(TARGET korvanectl)
    file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/korvanectl*.1)
    install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    set(completion_scripts ${PROJECT_SOURCE_DIR}/tools/ctl/completion)
    install(FILES ${completion_scripts}/korvanectl.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME korvanectl)
    install(FILES ${completion_scripts}/korvanectl.zsh
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions RENAME _korvanectl)
    install(FILES ${completion_scripts}/korvanectl.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
    foreach(kind scenario snapshot personality)
        install(FILES ${PROJECT_SOURCE_DIR}/docs/reference/${kind}.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/korvane)
    endforeach()
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/korvane FILES_MATCHING PATTERN *.json)
endif()
if(TARGET first-device)
    foreach(example first-device washer hub sensor common)
        install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/${example} DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples)
    endforeach()
endif()

# For CMake
install(EXPORT korvane-targets NAMESPACE korvane:: DESTINATION ${package_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/korvaneConfig.cmake.in
    ${PROJECT_BINARY_DIR}/korvaneConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/korvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/korvaneConfig.cmake ${PROJECT_BINARY_DIR}/korvaneConfigVersion.cmake
    DESTINATION ${package_dir})

# For pkg-config. The prefix is relative to the directory of the file, and the other directories to the prefix, except those that
# are absolute.
set(pkg_config_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pkg_config_prefix ${CMAKE_INSTALL_PREFIX})
else()
    file(RELATIVE_PATH from_pkg_config_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" from_pkg_config_to_prefix "${from_pkg_config_to_prefix}")
    set(pkg_config_prefix "\${pcfiledir}/${from_pkg_config_to_prefix}")
endif()
cmake_path(APPEND pkg_config_includedir "\${prefix}" ${CMAKE_INSTALL_INCLUDEDIR})
cmake_path(APPEND pkg_config_libdir "\${prefix}" ${CMAKE_INSTALL_LIBDIR})
foreach(package IN LISTS pkg_config_packages)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${pkg_config_dir})
endforeach()
