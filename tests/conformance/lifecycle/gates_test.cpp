// SPDX-License-Identifier: Apache-2.0
#include "handle_functions.hpp"

#include "common/agent_state.hpp"

namespace kv::test {
namespace {

constexpr int package_not_installed = -18153359;

/// The checks that every function with a handle makes before it acts, in their order.
class Gate : public FunctionTest {};

INSTANTIATE_TEST_SUITE_P(Of, Gate, ::testing::ValuesIn(functions), name_of);

TEST_P(Gate, IsNotSupportedWithoutAnAgent)
{
    platform.results["package_info_create"] = package_not_installed;
    EXPECT_EQ(call(bogus_handle()), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("Not Supported")}));
}

TEST_P(Gate, ChecksForTheAgentBeforeTheHandle)
{
    platform.results["package_info_create"] = package_not_installed;
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("Not Supported")}));
}

TEST_P(Gate, AsksThePackageManagerForAMissingAgentOnlyOnce)
{
    platform.results["package_info_create"] = package_not_installed;
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_NOT_SUPPORTED);
    for (const Function &other : functions)
        EXPECT_EQ(other.call(nullptr), KORVANE_ERROR_NOT_SUPPORTED) << other;
    EXPECT_EQ(platform.calls_to("package_info_create"), 1U);
    EXPECT_EQ(platform.calls_to("package_info_destroy"), 1U);
    EXPECT_EQ(platform.calls_to("package_info_get_version"), 0U);
}

TEST_P(Gate, TreatsOtherPackageManagerErrorsAsAnInstalledAgent)
{
    for (int code : {-1, -5, -13, -18153358, -18153360}) {
        clear_agent_state();
        platform.log.clear();
        platform.results["package_info_create"] = code;
        const int expected =
            GetParam().minimum_version > 0 ? KORVANE_ERROR_AGENT_VERSION_LOWER : KORVANE_ERROR_INVALID_PARAMETER;
        EXPECT_EQ(call(nullptr), expected) << code;
        const std::string reason =
            expected == KORVANE_ERROR_INVALID_PARAMETER ? "handle is NULL" : "agent version is lower!!";
        EXPECT_EQ(platform.log.lines(), (LogLines{entry(),
                                                  common_error("_get_agent_version", "package_info_create() failed [" +
                                                                                         std::to_string(code) + "]"),
                                                  refusal(reason)}));
    }
}

TEST_P(Gate, ReadsTheVersionOnce)
{
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), common_info("_get_agent_version", "agent version [2.3.1]"),
                                              refusal("handle is NULL")}));
    platform.log.clear();
    platform.agent_version = "1.0.0";
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("handle is NULL")}));
    EXPECT_EQ(platform.calls_to("package_info_get_version"), 1U);
}

TEST_P(Gate, AcceptsAnUnreadableVersionOnlyForMinimum0AndReadsItAgain)
{
    platform.agent_version = std::nullopt;
    const bool passes = GetParam().minimum_version == 0;
    for (unsigned reads = 1; reads <= 2; ++reads) {
        platform.log.clear();
        EXPECT_EQ(call(nullptr), passes ? KORVANE_ERROR_INVALID_PARAMETER : KORVANE_ERROR_AGENT_VERSION_LOWER);
        EXPECT_EQ(platform.log.lines(),
                  (LogLines{entry(), common_error("_get_agent_version", "package_info_get_version() failed"),
                            refusal(passes ? "handle is NULL" : "agent version is lower!!")}));
        EXPECT_EQ(platform.calls_to("package_info_get_version"), reads);
    }
    platform.agent_version = "2.0";
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_P(Gate, RefusesANegativeVersionEvenForMinimum0)
{
    for (const char *version : {"-1.0", "-1.999", "0.-1"}) {
        clear_agent_state();
        platform.log.clear();
        platform.agent_version = version;
        EXPECT_EQ(call(nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER) << version;
        EXPECT_EQ(platform.log.lines(),
                  (LogLines{entry(), common_info("_get_agent_version", std::string("agent version [") + version + "]"),
                            refusal("agent version is lower!!")}));
    }
}

TEST_P(Gate, ReadsANegativeVersionAgainInTheNextCall)
{
    platform.agent_version = "-1.0";
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    platform.agent_version = "2.3";
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
}

TEST_P(Gate, AcceptsTheMinimumVersionAndRefusesTheOneBelow)
{
    const int minimum = GetParam().minimum_version;
    auto result_with = [&](int version) {
        clear_agent_state();
        platform.agent_version = std::to_string(version / 1000) + "." + std::to_string(version % 1000);
        return call(nullptr);
    };
    EXPECT_EQ(result_with(minimum == 0 ? 1000 : minimum), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(result_with(2003), KORVANE_ERROR_INVALID_PARAMETER);
    if (minimum > 0) {
        EXPECT_EQ(result_with(minimum - 1), KORVANE_ERROR_AGENT_VERSION_LOWER);
        EXPECT_EQ(result_with(1006), KORVANE_ERROR_AGENT_VERSION_LOWER);
    }
}

TEST_P(Gate, RefusesANullHandleAfterTheChecksOfSupportAndVersion)
{
    connect();
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("handle is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_P(Gate, RefusesAnUnknownHandleWithItsOwnLogLine)
{
    connect();
    EXPECT_EQ(call(bogus_handle()), KORVANE_ERROR_INVALID_PARAMETER);
    const LogLines lines = platform.log.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], entry());
    EXPECT_EQ(lines[1], refusal(lines[1].message));
    EXPECT_NE(lines[1].message, "handle is NULL");
    EXPECT_TRUE(sent().empty());
}

TEST_P(Gate, RefusesAHandleAfterDeinitialize)
{
    korvane_h old = connect();
    ASSERT_EQ(korvane_deinitialize(old), KORVANE_ERROR_NONE);
    platform.log.clear();
    EXPECT_EQ(call(old), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors().size(), 1U);
}

TEST_P(Gate, ChecksTheHandleBeforeTheUpdate)
{
    connect();
    install_starts();
    platform.log.clear();
    EXPECT_EQ(call(nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("handle is NULL")}));
}

TEST_P(Gate, RefusesFunctionsThatAskTheAgentDuringInstallation)
{
    connect();
    install_starts();
    platform.log.clear();
    if (GetParam().asks_agent) {
        EXPECT_EQ(call(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
        EXPECT_EQ(platform.log.lines(), (LogLines{entry(), refusal("Agent is being installing")}));
        EXPECT_TRUE(sent().empty());
    } else {
        EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
        EXPECT_EQ(platform.log.lines(), (LogLines{entry()}));
    }
}

TEST_P(Gate, AcceptsCallsWhileAnUpdateHasOnlyStarted)
{
    connect();
    agent_answers();
    update_starts();
    EXPECT_EQ(call(handle), KORVANE_ERROR_NONE);
}

TEST_P(Gate, SendsNothingAndChangesNothingInARefusedCall)
{
    connect();
    install_starts();
    const std::size_t blocks = allocs::live_blocks();
    call(nullptr);
    call(bogus_handle());
    EXPECT_EQ(allocs::live_blocks(), blocks);
    EXPECT_TRUE(sent().empty());
    EXPECT_EQ(platform.calls_to("set_last_result"), 0U);
    update_completes();
    agent_answers();
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_NONE);
}

class NullCallback : public LibraryTest {};

TEST_F(NullCallback, OfStartAsyncIsRefusedWithItsOwnText)
{
    connect();
    EXPECT_EQ(korvane_start_async(handle, nullptr, &platform), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_start_async", ">>> called"),
                                              api_error("korvane_start_async", "start_result_cb is NULL")}));
    EXPECT_TRUE(sent().empty());
}

TEST_F(NullCallback, OfStartAsyncIsCheckedAfterTheHandleAndBeforeTheUpdate)
{
    connect();
    install_starts();
    platform.log.clear();
    EXPECT_EQ(korvane_start_async(nullptr, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(korvane_start_async(handle, nullptr, nullptr), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.errors(), (LogLines{api_error("korvane_start_async", "handle is NULL"),
                                               api_error("korvane_start_async", "start_result_cb is NULL")}));
}

TEST_F(NullCallback, OfStartAsyncIsCheckedAfterTheVersion)
{
    platform.agent_version = "1.6.0";
    connect();
    EXPECT_EQ(korvane_start_async(handle, nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_start_async", ">>> called"),
                                              api_error("korvane_start_async", "agent version is lower!!")}));
}

TEST_F(NullCallback, OfSetRpcIoErrorIsRefusedWithItsOwnText)
{
    connect();
    EXPECT_EQ(korvane_set_rpc_io_error_cb(handle, nullptr, &platform), KORVANE_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(platform.log.lines(), (LogLines{api_info("korvane_set_rpc_io_error_cb", ">>> called"),
                                              api_error("korvane_set_rpc_io_error_cb", "rpc_io_error_cb is NULL")}));
}

} // namespace
} // namespace kv::test
