# SPDX-License-Identifier: Apache-2.0
# The host platform's log, packages and application events.
set(host_test_dir ${CMAKE_CURRENT_LIST_DIR})
kv_add_test(host_log_test
    SOURCES ${host_test_dir}/host_log_test.cpp ${host_test_dir}/host_log_journal_test.cpp ${host_test_dir}/host_child.cpp
    LIBS kvplatform)
kv_add_test(host_package_test
    SOURCES ${host_test_dir}/host_package_test.cpp ${host_test_dir}/host_child.cpp
    LIBS kvplatform)
kv_add_test(host_bundle_test
    SOURCES ${host_test_dir}/host_bundle_test.cpp
    LIBS kvplatform)
foreach(subject event event_bus)
    kv_add_test(host_${subject}_test
        SOURCES ${host_test_dir}/host_${subject}_test.cpp ${host_test_dir}/host_child.cpp
        LIBS kvplatform PkgConfig::GLIB DBUS)
endforeach()
