// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/platform_fixture.hpp"

#include <korvane_util.h>

namespace kv::test {
namespace {

class AgentFacts : public PlatformTest {
protected:
    korvane_util_agent read()
    {
        korvane_util_agent agent{};
        EXPECT_EQ(korvane_util_get_agent(&agent), KORVANE_ERROR_NONE);
        return agent;
    }
    int version_of(const std::string &text)
    {
        platform.agent_version = text;
        return read().version;
    }
};

TEST_F(AgentFacts, HaveTheFirstTwoNumbersOfTheVersion)
{
    EXPECT_EQ(version_of("2.3.1"), 2003);
    EXPECT_EQ(version_of("1.0"), 1000);
    EXPECT_EQ(version_of("1.999"), 1999);
    EXPECT_EQ(version_of("1000000.999"), 1000000999);
}

TEST_F(AgentFacts, HaveNoVersionForAnotherText)
{
    for (const char *text : {"", "abc", ".1", "2", "2,3", "-1.0", "1000001.0", "2.", "2.x", "2.-1", "2.1000"}) {
        EXPECT_EQ(version_of(text), 0) << text;
        EXPECT_TRUE(read().is_installed) << text;
        EXPECT_FALSE(read().uses_documents) << text;
    }
}

TEST_F(AgentFacts, HaveNoVersionIfThePackageManagerReturnsNone)
{
    platform.agent_version = std::nullopt;
    EXPECT_EQ(read().version, 0);
    EXPECT_TRUE(read().is_installed);
    platform.agent_version = "2.3.1";
    platform.results["package_info_get_version"] = -5;
    EXPECT_EQ(read().version, 0);
    EXPECT_TRUE(read().is_installed);
    EXPECT_TRUE(korvane_util_is_available("korvane_start")) << "any agent will do";
    EXPECT_FALSE(korvane_util_is_available("korvane_set_random_pin"));
}

TEST_F(AgentFacts, KnowNoFunctionBehindTheLastName)
{
    EXPECT_EQ(korvane_util_get_lowest_version("korvane_zzz"), -1);
    EXPECT_FALSE(korvane_util_is_available("korvane_zzz"));
}

} // namespace
} // namespace kv::test
