# SPDX-License-Identifier: Apache-2.0
# The host platform's ports: parcels, connecting, calls, events.
set(host_ports_dir ${CMAKE_CURRENT_LIST_DIR})
set(host_ports_fixture ${host_ports_dir}/host_ports_fixture.cpp ${host_ports_dir}/host_ports_raw.cpp
    ${host_ports_dir}/host_child.cpp)
kv_add_test(host_parcel_test SOURCES ${host_ports_dir}/host_parcel_test.cpp LIBS kvplatform)
kv_add_test(host_ports_connect_test
    SOURCES ${host_ports_dir}/host_ports_connect_test.cpp ${host_ports_dir}/host_ports_greeting_test.cpp
            ${host_ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
kv_add_test(host_ports_start_test
    SOURCES ${host_ports_dir}/host_ports_start_test.cpp ${host_ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
kv_add_test(host_ports_call_test
    SOURCES ${host_ports_dir}/host_ports_call_test.cpp ${host_ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
kv_add_test(host_ports_event_test
    SOURCES ${host_ports_dir}/host_ports_event_test.cpp ${host_ports_dir}/host_ports_batch_test.cpp
            ${host_ports_dir}/host_ports_peers_test.cpp ${host_ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
kv_add_test(host_ports_cost_test
    SOURCES ${host_ports_dir}/host_ports_cost_test.cpp ${host_ports_fixture}
    LIBS kvplatform PkgConfig::GLIB)
