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
    ::testing::Values(Version{"ThreePartsGive2003", "2.3.1", 2003, ""},
                      Version{"TwoDigitMajorGives10000", "10.0", 10000, ""}, Version{"TwoParts", "1.6", 1006, ""},
                      Version{"ManyParts", "1.1.9.8.7", 1001, ""}, Version{"LeadingZeros", "02.003", 2003, ""},
                      Version{"SeveralDotsCountAsOne", "2..3", 2003, ""},
                      Version{"ADotInFrontIsSkipped", ".2.3", 2003, ""},
                      Version{"LettersBehindANumberAreIgnored", "2rc.3beta", 2003, ""},
                      Version{"MinorAbove999AddsUp", "1.1001", 2001, ""}, Version{"MajorZero", "0.5", 5, ""},
                      Version{"NoNumbersGive0", "a.b", 0, ""}, Version{"Negative", "-1.0", -1000, ""},
                      Version{"WithoutADot", "1", 0, "2nd token is NULL"},
                      Version{"NothingBehindTheDot", "2.", 0, "2nd token is NULL"},
                      Version{"Empty", "", 0, "token is NULL"}, Version{"OnlyDots", "..", 0, "token is NULL"}),
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
    for (const char *version : {"2147483647.0", "9223372036854775807.9", "99999999999999999999.1", "3000000.1"}) {
        platform.agent_version = version;
        EXPECT_GE(kv::_get_agent_version(), 2003) << version;
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
