# SPDX-License-Identifier: Apache-2.0
# The host platform's log, packages, application events and ports.
set(host_dir ${CMAKE_CURRENT_LIST_DIR})
kv_add_test(host_log_test
    SOURCES ${host_dir}/log_test.cpp ${host_dir}/log_journal_test.cpp ${host_dir}/child.cpp
    LIBS kvplatform)
kv_add_test(host_package_test SOURCES ${host_dir}/package_test.cpp ${host_dir}/child.cpp LIBS kvplatform)
kv_add_test(host_bundle_test SOURCES ${host_dir}/bundle_test.cpp LIBS kvplatform)
foreach(subject event event_bus)
    kv_add_test(host_${subject}_test
        SOURCES ${host_dir}/${subject}_test.cpp ${host_dir}/child.cpp
        LIBS kvplatform PkgConfig::GLIB DBUS)
endforeach()

set(ports_dir ${host_dir}/ports)
set(ports_fixture ${ports_dir}/fixture.cpp ${ports_dir}/by_hand.cpp ${host_dir}/child.cpp)
kv_add_test(host_parcel_test SOURCES ${ports_dir}/parcel_test.cpp LIBS kvplatform)
kv_add_test(host_ports_connect_test
    SOURCES ${ports_dir}/connect_test.cpp ${ports_dir}/handshake_test.cpp ${ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
kv_add_test(host_ports_event_test
    SOURCES ${ports_dir}/event_test.cpp ${ports_dir}/batch_test.cpp ${ports_dir}/peers_test.cpp ${ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
foreach(subject start call cost memory)
    kv_add_test(host_ports_${subject}_test
        SOURCES ${ports_dir}/${subject}_test.cpp ${ports_fixture}
        LIBS kvplatform PkgConfig::GLIB)
endforeach()
