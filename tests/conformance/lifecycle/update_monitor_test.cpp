// SPDX-License-Identifier: Apache-2.0
#include "conformance/fixtures/library_fixture.hpp"

#include "common/agent_state.hpp"

#include <cstring>

namespace kv::test {
namespace {

using kv::agent;

LogLine seen(const std::string &message)
{
    return common_info("_update_status_event_cb", message);
}

const LogLine entered = seen(">>> called");
const LogLine start_line = seen(">>>> Agent update is started");
const LogLine install_line = seen(">>>> Agent install is started");
const LogLine complete_line = seen(">>>> Agent update is completed");

LogLine fail_line(int code)
{
    return common_error("_update_status_event_cb",
                        ">>>> Agent update is failed, update_err=[" + std::to_string(code) + "]");
}

/// A number as the service manager stores it: unlike those of a parcel, in the machine's byte order.
Bytes stored(std::int32_t number)
{
    Bytes bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

class UpdateMonitor : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        connect();
        ASSERT_EQ(agent.version, 2003);
    }

    /// The log lines of one update event.
    LogLines lines_of(const bundle_s &data)
    {
        platform.log.clear();
        announce(data);
        return platform.log.lines();
    }
};

TEST_F(UpdateMonitor, RegistersForTheServiceManagersEvent)
{
    ASSERT_EQ(platform.event_handlers().size(), 1U);
    EXPECT_EQ(platform.event_handlers()[0]->event_name, update_event);
    EXPECT_EQ(platform.event_handlers()[0]->user_data, nullptr);
}

TEST_F(UpdateMonitor, IgnoresAnEventOfAnotherName)
{
    for (const char *name : {"org.korvane.Other", "", static_cast<const char *>(nullptr)}) {
        platform.log.clear();
        platform.event_handlers()[0]->fire(name, bundle_s{}.text("Install", "x"));
        EXPECT_EQ(platform.log.lines(), (LogLines{entered}));
        EXPECT_EQ(agent.update, 0);
    }
    EXPECT_EQ(platform.calls_to("bundle_get_str"), 0U);
}

TEST_F(UpdateMonitor, StartSetsState1)
{
    EXPECT_EQ(lines_of(bundle_s{}.array("Start", {"a", "b"})), (LogLines{entered, start_line}));
    EXPECT_EQ(agent.update, 1);
}

TEST_F(UpdateMonitor, TreatsAnEmptyArrayUnderStartAsAStart)
{
    EXPECT_EQ(lines_of(bundle_s{}.array("Start", {})), (LogLines{entered, start_line}));
    EXPECT_EQ(agent.update, 1);
}

TEST_F(UpdateMonitor, InstallSetsState2WithAndWithoutAStart)
{
    EXPECT_EQ(lines_of(bundle_s{}.text("Install", "")), (LogLines{entered, install_line}));
    EXPECT_EQ(agent.update, 2);
    update_completes();
    update_starts();
    install_starts();
    EXPECT_EQ(agent.update, 2);
}

TEST_F(UpdateMonitor, IgnoresAValueOfAnotherType)
{
    EXPECT_EQ(lines_of(bundle_s{}.text("Start", "x")), (LogLines{entered}));
    EXPECT_EQ(lines_of(bundle_s{}.array("Install", {"x"})), (LogLines{entered}));
    EXPECT_EQ(lines_of(bundle_s{}.data("Complete", {1})), (LogLines{entered}));
    EXPECT_EQ(lines_of(bundle_s{}.text("Fail", "x")), (LogLines{entered}));
    EXPECT_EQ(agent.update, 0);
}

TEST_F(UpdateMonitor, IgnoresAnEventWithoutAKnownKey)
{
    install_starts();
    EXPECT_EQ(lines_of({}), (LogLines{entered}));
    EXPECT_EQ(lines_of(bundle_s{}.text("Progress", "50")), (LogLines{entered}));
    EXPECT_EQ(agent.update, 2);
    EXPECT_EQ(agent.version, 2003);
}

TEST_F(UpdateMonitor, TreatsAKeyWithoutAValueAsAMissingKey)
{
    platform.returns_null_for_empty = true;
    EXPECT_EQ(lines_of(bundle_s{}.text("Install", "")), (LogLines{entered}));
    EXPECT_EQ(agent.update, 0);
    install_starts();
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "")), (LogLines{entered}));
    EXPECT_EQ(agent.update, 2);
}

TEST_F(UpdateMonitor, FailWithoutDataEndsTheUpdateWith0)
{
    for (const bool null_pointer : {true, false}) {
        platform.returns_null_for_empty = null_pointer;
        install_starts();
        EXPECT_EQ(lines_of(bundle_s{}.data("Fail", {})), (LogLines{entered, fail_line(0)}));
        EXPECT_EQ(agent.update, 0);
    }
}

TEST_F(UpdateMonitor, StartTakesPrecedenceOverEveryOtherKey)
{
    EXPECT_EQ(
        lines_of(bundle_s{}.array("Start", {"a"}).text("Install", "i").text("Complete", "c").data("Fail", stored(1))),
        (LogLines{entered, start_line}));
    EXPECT_EQ(agent.update, 1);
}

TEST_F(UpdateMonitor, InstallTakesPrecedenceOverComplete)
{
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c").text("Install", "i")), (LogLines{entered, install_line}));
    EXPECT_EQ(agent.update, 2);
    EXPECT_EQ(agent.version, 2003);
}

TEST_F(UpdateMonitor, CompleteAfterInstallClearsTheCachedVersion)
{
    install_starts();
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c")), (LogLines{entered, complete_line}));
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 0);

    platform.agent_version = "1.6.0";
    EXPECT_EQ(korvane_start_async(handle, nullptr, nullptr), KORVANE_ERROR_AGENT_VERSION_LOWER);
    EXPECT_TRUE(platform.log.has(common_info("_get_agent_version", "agent version [1.6.0]")));
    EXPECT_EQ(agent.version, 1006);
}

TEST_F(UpdateMonitor, CompleteAfterStartKeepsTheCachedVersion)
{
    update_starts();
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c")), (LogLines{entered, complete_line}));
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 2003);
}

TEST_F(UpdateMonitor, CompleteAloneKeepsTheCachedVersion)
{
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c")), (LogLines{entered, complete_line}));
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 2003);
}

TEST_F(UpdateMonitor, CompleteWithFailLogsBothAndEndsTheUpdate)
{
    install_starts();
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c").data("Fail", stored(-7))),
              (LogLines{entered, complete_line, fail_line(-7)}));
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 0);
}

TEST_F(UpdateMonitor, FailEndsTheUpdateAndKeepsTheVersion)
{
    install_starts();
    EXPECT_EQ(lines_of(bundle_s{}.data("Fail", stored(2147483647))), (LogLines{entered, fail_line(2147483647)}));
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 2003);
}

TEST_F(UpdateMonitor, FailAfterStartEndsTheUpdate)
{
    update_starts();
    EXPECT_EQ(lines_of(bundle_s{}.data("Fail", stored(-1))), (LogLines{entered, fail_line(-1)}));
    EXPECT_EQ(agent.update, 0);
}

TEST_F(UpdateMonitor, FailReadsTheFirstFourBytesOfLongerData)
{
    EXPECT_EQ(lines_of(bundle_s{}.data("Fail", bytes(stored(12), stored(99)))), (LogLines{entered, fail_line(12)}));
}

TEST_F(UpdateMonitor, FailReadsDataOfLessThanFourBytesAs0)
{
    for (const Bytes &data : {Bytes{}, Bytes{1}, Bytes{1, 2}, Bytes{1, 2, 3}}) {
        install_starts();
        EXPECT_EQ(lines_of(bundle_s{}.data("Fail", data)), (LogLines{entered, fail_line(0)})) << data.size();
        EXPECT_EQ(agent.update, 0);
    }
    install_starts();
    EXPECT_EQ(lines_of(bundle_s{}.text("Complete", "c").data("Fail", {9})),
              (LogLines{entered, complete_line, fail_line(0)}));
}

TEST_F(UpdateMonitor, RefusesCallsOnlyBetweenInstallAndItsEnd)
{
    agent_answers();
    EXPECT_EQ(korvane_start(handle), 0);
    update_starts();
    EXPECT_EQ(korvane_start(handle), 0);
    install_starts();
    EXPECT_EQ(korvane_start(handle), KORVANE_ERROR_SERVICE_UNAVAILABLE);
    announce(bundle_s{}.data("Fail", stored(1)));
    EXPECT_EQ(korvane_start(handle), 0);
    install_starts();
    update_completes();
    EXPECT_EQ(korvane_start(handle), 0);
}

TEST_F(UpdateMonitor, DeinitializeEndsTheUpdateAndClearsTheVersion)
{
    install_starts();
    ASSERT_EQ(korvane_deinitialize(handle), 0);
    EXPECT_EQ(agent.update, 0);
    EXPECT_EQ(agent.version, 0);
    EXPECT_EQ(agent.support, 1);
    EXPECT_TRUE(platform.event_handlers().empty());
}

TEST_F(UpdateMonitor, TreatsAFailureOfABundleFunctionAsAMissingKey)
{
    const bundle_s all =
        bundle_s{}.array("Start", {"a"}).text("Install", "i").text("Complete", "c").data("Fail", stored(3));
    platform.results["bundle_get_str_array"] = -12;
    EXPECT_EQ(lines_of(all), (LogLines{entered, install_line}));
    platform.results["bundle_get_str"] = -12;
    EXPECT_EQ(lines_of(all), (LogLines{entered, fail_line(3)}));
    platform.results["bundle_get_byte"] = -12;
    EXPECT_EQ(lines_of(all), (LogLines{entered}));
}

} // namespace
} // namespace kv::test
