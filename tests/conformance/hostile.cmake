# SPDX-License-Identifier: Apache-2.0
# Bad input of every kind, over all families of functions at once.
kv_add_test(conformance_hostile
    SOURCES document_kinds.cpp every_pair.cpp every_registration_test.cpp hostile_documents_test.cpp hostile_events_test.cpp
            hostile_kept_handles_test.cpp hostile_numbers_test.cpp hostile_texts_test.cpp hostile_updates_test.cpp
            library_fixture.cpp secrets_test.cpp setup_pairs.cpp text_arguments.cpp
    LIBS kv_fake_platform kv_platform_fixture korvane_api
    DEFINITIONS KORVANE_HEADER="${PROJECT_SOURCE_DIR}/include/korvane.h")
