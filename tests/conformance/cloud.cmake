# SPDX-License-Identifier: Apache-2.0
# The cloud and device management functions.
kv_add_test(conformance_cloud
    SOURCES cloud_answers_test.cpp cloud_events_test.cpp cloud_identity_test.cpp cloud_keepalive_test.cpp
            cloud_push_terms_test.cpp cloud_requests.cpp cloud_requests_test.cpp cloud_session_test.cpp
            cloud_setters_test.cpp cloud_sub_devices_test.cpp cloud_tokens_test.cpp library_fixture.cpp
    LIBS kv_fake_platform kv_platform_fixture korvane_api)
