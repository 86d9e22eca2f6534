// SPDX-License-Identifier: Apache-2.0
// The facts of libkorvane-util.
#include "support/agent_process.hpp"

#include <korvane_util.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

using namespace kv::test;

namespace {

class AgentFacts : public testing::Test {
protected:
    korvane_util_agent read()
    {
        korvane_util_agent agent{};
        EXPECT_EQ(korvane_util_get_agent(&agent), KORVANE_ERROR_NONE);
        return agent;
    }

    AgentHome home;
};

TEST_F(AgentFacts, WithoutAnAgent)
{
    const korvane_util_agent agent = read();
    EXPECT_FALSE(agent.is_installed);
    EXPECT_EQ(agent.version, 0);
    EXPECT_FALSE(agent.uses_documents);
    EXPECT_FALSE(korvane_util_is_available("korvane_initialize"));
    EXPECT_EQ(korvane_util_get_agent(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_F(AgentFacts, FollowTheInstalledVersion)
{
    {
        AgentProcess agent{home, {"--agent-version", "1.3"}};
        EXPECT_EQ(read().version, 1003);
        EXPECT_FALSE(read().uses_documents);
        EXPECT_TRUE(korvane_util_is_available("korvane_set_language_list"));
        EXPECT_FALSE(korvane_util_is_available("korvane_set_random_pin"));
    }
    AgentProcess agent{home, {"--agent-version", "2.0"}};
    EXPECT_EQ(read().version, 2000);
    EXPECT_TRUE(read().uses_documents);
    EXPECT_TRUE(korvane_util_is_available("korvane_set_random_pin"));
    EXPECT_FALSE(korvane_util_is_available("korvane_no_such_function"));
}

TEST(FunctionFacts, HaveTheLowestVersions)
{
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_initialize"), 0);
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_set_random_pin"), 1004);
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_start_async"), 2000);
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_set_device_property_with_wifi_authtype"), 2002);
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_"), -1);
    EXPECT_EQ(korvane_util_get_lowest_version(""), -1);
    EXPECT_EQ(korvane_util_get_lowest_version(nullptr), -1);
}

TEST(FunctionFacts, KnowEveryExportedFunction)
{
    std::ifstream exports{KORVANE_EXPORTS};
    int functions = 0;
    for (std::string name; std::getline(exports, name);)
        if (name.rfind("korvane_", 0) == 0) {
            ++functions;
            EXPECT_GE(korvane_util_get_lowest_version(name.c_str()), 0) << name;
        }
    EXPECT_EQ(functions, 179);
}

TEST(ResultFacts, ExplainEachCode)
{
    const int codes[] = {KORVANE_ERROR_NONE,
                         KORVANE_ERROR_INVALID_PARAMETER,
                         KORVANE_ERROR_OUT_OF_MEMORY,
                         KORVANE_ERROR_PERMISSION_DENIED,
                         KORVANE_ERROR_IO_ERROR,
                         KORVANE_ERROR_NO_DATA,
                         KORVANE_ERROR_NOT_SUPPORTED,
                         KORVANE_ERROR_OPERATION_FAILED,
                         KORVANE_ERROR_SERVICE_UNAVAILABLE,
                         KORVANE_ERROR_AGENT_VERSION_LOWER};
    std::set<std::string> causes;
    for (const int code : codes) {
        const korvane_util_result *result = korvane_util_explain(code);
        ASSERT_NE(result, nullptr) << code;
        EXPECT_EQ(result->code, code);
        EXPECT_STRNE(result->name, "");
        EXPECT_STRNE(result->remedy, "");
        causes.insert(result->cause);
    }
    EXPECT_EQ(causes.size(), std::size(codes));
    EXPECT_STREQ(korvane_util_explain(KORVANE_ERROR_IO_ERROR)->name, "IO_ERROR");
    EXPECT_EQ(korvane_util_explain(1), nullptr);
    EXPECT_STREQ(korvane_util_get_library_version(), "2.3.3");
}

} // namespace
