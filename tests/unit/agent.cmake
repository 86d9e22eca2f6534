# SPDX-License-Identifier: Apache-2.0
# The parts of the virtual agent.
set(agent_test_dir ${CMAKE_CURRENT_LIST_DIR})
kv_add_test(agent_cloud_test
    SOURCES ${agent_test_dir}/agent_cloud_test.cpp ${agent_test_dir}/agent_cloud_session_test.cpp
        ${agent_test_dir}/agent_cloud_requests_test.cpp
    LIBS korvane_agent_parts)
kv_add_test(agent_authority_test
    SOURCES ${agent_test_dir}/agent_authority_test.cpp ${agent_test_dir}/../support/signing_request.cpp
    LIBS korvane_agent_parts)
kv_add_test(agent_phone_test SOURCES ${agent_test_dir}/agent_phone_test.cpp LIBS korvane_agent_parts)
kv_add_test(agent_scenario_test SOURCES ${agent_test_dir}/agent_scenario_test.cpp LIBS korvane_agent_parts)
