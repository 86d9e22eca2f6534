# SPDX-License-Identifier: Apache-2.0
# The easy setup: access points, provisioning data, PINs and the extras.
kv_add_test(conformance_setup
    SOURCES ap_info_test.cpp ap_list_failures_test.cpp ap_list_test.cpp device_provisioning_test.cpp
            library_fixture.cpp setup_commands.cpp setup_commands_test.cpp setup_pairs.cpp setup_pairs_test.cpp
            wifi_ap_provisioning_test.cpp
    LIBS kv_fake_platform kv_platform_fixture korvane_api)
