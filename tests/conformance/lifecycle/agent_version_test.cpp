// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include "common/agent_state.hpp"

namespace kv::test {
namespace {

struct Version {
    std::string name;
    std::string text;
    int number;
    std::string complaint; // the logged error; empty if the version is valid
};

std::ostream &operator<<(std::ostream &out, const Version &version)
{
    return out << '"' << version.text << '"';
}

class AgentVersion : public LibraryTest, public ::testing::WithParamInterface<Version> {};

INSTANTIATE_TEST_SUITE_P(
    Text, AgentVersion,
    ::testing::Values(
        Version{.name = "ThreePartsGive2003", .text = "2.3.1", .number = 2003, .complaint = ""},
        Version{.name = "TwoDigitMajorGives10000", .text = "10.0", .number = 10000, .complaint = ""},
        Version{.name = "TwoParts", .text = "1.6", .number = 1006, .complaint = ""},
        Version{.name = "ManyParts", .text = "1.1.9.8.7", .number = 1001, .complaint = ""},
        Version{.name = "LeadingZeros", .text = "02.003", .number = 2003, .complaint = ""},
        Version{.name = "SeveralDotsCountAsOne", .text = "2..3", .number = 2003, .complaint = ""},
        Version{.name = "ADotInFrontIsSkipped", .text = ".2.3", .number = 2003, .complaint = ""},
        Version{.name = "LettersBehindANumberAreIgnored", .text = "2rc.3beta", .number = 2003, .complaint = ""},
        Version{.name = "MinorAbove999AddsUp", .text = "1.1001", .number = 2001, .complaint = ""},
        Version{.name = "MajorZero", .text = "0.5", .number = 5, .complaint = ""},
        Version{.name = "NoNumbersGive0", .text = "a.b", .number = 0, .complaint = ""},
        Version{.name = "Negative", .text = "-1.0", .number = -1000, .complaint = ""},
        Version{.name = "WithoutADot", .text = "1", .number = 0, .complaint = "2nd token is NULL"},
        Version{.name = "NothingBehindTheDot", .text = "2.", .number = 0, .complaint = "2nd token is NULL"},
        Version{.name = "Empty", .text = "", .number = 0, .complaint = "token is NULL"},
        Version{.name = "OnlyDots", .text = "..", .number = 0, .complaint = "token is NULL"}),
    [](const auto &row) { return row.param.name; });

TEST_P(AgentVersion, IsParsedFromTheVersionText)
{
    const Version &version = GetParam();
    platform.agent_version = version.text;
    EXPECT_EQ(kv::_get_agent_version(), version.number);

    LogLines expected{common_info("_get_agent_version", "agent version [" + version.text + "]")};
    if (!version.complaint.empty())
        expected.push_back(common_error("_get_agent_version", version.complaint));
    EXPECT_EQ(platform.log.lines(), expected);
    EXPECT_EQ(kv::agent.version, version.complaint.empty() ? version.number : 0);
}

using ReadingTheVersion = LibraryTest;

TEST_F(ReadingTheVersion, FailsIfThePackageInfoCannotBeCreated)
{
    platform.results["package_info_create"] = -71;
    EXPECT_EQ(kv::_get_agent_version(), 0);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{common_error("_get_agent_version", "package_info_create() failed [-71]")}));
}

TEST_F(ReadingTheVersion, FailsWithoutAVersionText)
{
    platform.agent_version = std::nullopt;
    EXPECT_EQ(kv::_get_agent_version(), 0);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{common_error("_get_agent_version", "package_info_get_version() failed")}));
}

TEST_F(ReadingTheVersion, FailsIfTheVersionCannotBeRead)
{
    platform.results["package_info_get_version"] = -5;
    EXPECT_EQ(kv::_get_agent_version(), 0);
    EXPECT_EQ(platform.log.lines(),
              (LogLines{common_error("_get_agent_version", "package_info_get_version() failed")}));
}

TEST_F(ReadingTheVersion, KeepsHugeNumbersAboveEveryMinimum)
{
    for (const char *version :
         {"2147483647.0", "9223372036854775807.9", "9223372036854775.808", "99999999999999999999.1", "3000000.1"}) {
        platform.agent_version = version;
        EXPECT_GE(kv::_get_agent_version(), 2003) << version;
    }
}

TEST_F(ReadingTheVersion, KeepsHugeNegativeNumbersBelowEveryMinimum)
{
    for (const char *version : {"-3000000.0", "-9223372036854775807.0", "-99999999999999999999.1"}) {
        platform.agent_version = version;
        EXPECT_LT(kv::_get_agent_version(), 0) << version;
    }
}

TEST_F(ReadingTheVersion, LooksUpTheAgentsIdAndDestroysTheInfoWithEveryResult)
{
    kv::agent.determine_support();
    EXPECT_EQ(kv::agent.support, 1);
    platform.results["package_info_create"] = -18153359;
    kv::agent.determine_support();
    EXPECT_EQ(kv::agent.support, 0);
    platform.results["package_info_create"] = -1;
    kv::agent.determine_support();
    EXPECT_EQ(kv::agent.support, 1);
    EXPECT_EQ(platform.calls_to("package_info_destroy"), 3U);
    EXPECT_TRUE(platform.log.lines().empty());
}

} // namespace
} // namespace kv::test
