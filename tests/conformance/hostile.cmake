# SPDX-License-Identifier: Apache-2.0
# Bad input of every kind, over all families of functions at once.
kv_add_test(conformance_hostile
    SOURCES every_pair.cpp hostile_events_test.cpp hostile_texts_test.cpp library_fixture.cpp setup_pairs.cpp
            secrets_test.cpp text_arguments.cpp
    LIBS kv_fake_platform kv_platform_fixture korvane_api
    DEFINITIONS KORVANE_HEADER="${PROJECT_SOURCE_DIR}/include/korvane.h")
