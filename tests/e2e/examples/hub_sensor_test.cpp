// SPDX-License-Identifier: Apache-2.0
// The examples hub and sensor.
#include "examples_fixture.hpp"

using namespace kv::test;

namespace {

struct OtherExamples : Example {
    const std::string hub = KORVANE_HUB_PATH;
    const std::string sensor = KORVANE_SENSOR_PATH;
};

struct ExampleWithAgent : OtherExamples, testing::WithParamInterface<const char *> {
    const std::string version = GetParam();
};
INSTANTIATE_TEST_SUITE_P(EveryVersion, ExampleWithAgent, agent_versions, version_in_name);

TEST_P(ExampleWithAgent, RunsTheHub)
{
    AgentProcess agent{home, {"--agent-version", version}};
    agent.run_command("personality owned-and-signed-in"); // a group needs an owner
    Program program{hub, {}};
    EXPECT_EQ(program.wait(), 0) << program.output();
    const auto since = [this](const char *first, int count) { return version < first ? 0 : count; };
    EXPECT_EQ(requests("register_sub_device"), since("1.1", 3));
    EXPECT_EQ(home.count_in_journal({R"("method":"set_nick_name")", R"({"device_no":2,"nick":"Front door"})"}),
              since("1.2", 1));
    EXPECT_EQ(home.count_in_journal({R"("method":"set_platform_info_with_device_no")", R"("device_no":3)", "F-3"}),
              since("1.2", 1));
    EXPECT_EQ(
        home.count_in_journal({R"("method":"set_device_name_with_device_no")", R"("device_no":1)", "Lamp in the hall"}),
        since("1.4", 1));
    EXPECT_EQ(home.count_in_journal({R"("device_nos":[1,2],"presence":true)"}), since("1.4", 1));
    EXPECT_EQ(home.count_in_journal({R"("device_nos":[3],"presence":false)"}), since("1.4", 1));
    EXPECT_EQ(requests("common_interface"), since("2.0", 3)) << "the types";
    EXPECT_EQ(program.count_in_output("group: "), since("1.5", 1));
    EXPECT_EQ(program.count_in_output("group: no event from the agent"), 0);
    EXPECT_EQ(program.count_in_output("presence: lock-0001: 1"), since("1.6", 1));
    EXPECT_EQ(program.count_in_output("presence: fan-0001: 0"), since("1.6", 1));
    EXPECT_EQ(program.count_in_output("presence: no sub-device is registered"), since("1.6", 1));
    EXPECT_EQ(requests("unregister_sub_device"), since("1.1", 3));
    EXPECT_EQ(home.count_in_journal({R"("problem")"}), 0);
    EXPECT_EQ(requests("stop"), 1);
    EXPECT_EQ(program.error_output(), "");
}

TEST_P(ExampleWithAgent, RunsTheSensor)
{
    AgentProcess agent{home, {"--agent-version", version}};
    agent.run_command("personality owned-and-signed-in"); // a connection needs a session
    Program program{sensor, {"--once", "--awake-ms", "1"}};
    EXPECT_EQ(program.wait(), 0) << program.output();
    const auto since = [this](const char *first, int count) { return version < first ? 0 : count; };
    EXPECT_EQ(home.count_in_journal(
                  {"set_keepalive_intervals",
                   R"([{"interval":120},{"interval":240},{"interval":480},{"interval":960},{"interval":1920}])"}),
              since("1.3", 1));
    EXPECT_EQ(home.count_in_journal({"select_keepalive_intervals", R"([{"index":1},{"index":2},{"index":3}])"}),
              since("1.3", 1));
    EXPECT_EQ(requests("send_keepalive"), since("1.3", 1));
    EXPECT_EQ(home.count_in_journal({R"("method":"send_presence")", R"({"presence":0})"}), since("1.3", 1));
    EXPECT_EQ(home.count_in_journal({R"("method":"send_presence")", R"({"presence":1})"}), since("1.3", 1));
    EXPECT_EQ(program.count_in_output("tcp header: source 127.0.0.1"), since("1.4", 1));
    EXPECT_EQ(program.count_in_output("tcp header: destination port "), since("1.4", 1));
    EXPECT_EQ(program.count_in_output("tcp header: "), since("1.4", 9));
    EXPECT_EQ(home.count_in_journal({R"("problem")"}), 0);
    EXPECT_EQ(program.error_output(), "");
}

TEST_F(OtherExamples, TheHubKeepsRunningOnRequest)
{
    AgentProcess agent{home};
    Program program{hub, {"--stay"}};
    ASSERT_TRUE(program.wait_for_output("hub: ready"));
    EXPECT_NE(agent.reply_to("state").find(R"("device_id":"fan-0001")"), std::string::npos);
    agent.signal(SIGKILL);
    program.wait_for_output("hub: ready", 2);
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(requests("unregister_sub_device"), 0);
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(OtherExamples, TheHubTimesOutWaitingForItsGroup)
{
    AgentProcess agent{home, {"--agent-version", "1.5"}};
    agent.run_command("fault get_group_id result 0"); // no event follows
    Program program{hub, {}};
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(program.count_in_output("group: no event from the agent"), 1);
}

TEST_F(OtherExamples, TheHubReportsAFailedStepByItsExitStatus)
{
    AgentProcess agent{home};
    agent.run_command("fault register_sub_device result -1");
    Program program{hub, {}};
    EXPECT_EQ(program.wait(), 1) << program.output();
    EXPECT_EQ(program.count_in_output("  register_sub_device: OPERATION_FAILED"), 1);

    agent.run_command("fault start result -1");
    Program without_service{hub, {}};
    EXPECT_EQ(without_service.wait(), 1) << without_service.output();
    EXPECT_EQ(without_service.count_in_output("start: OPERATION_FAILED"), 1);
}

TEST_F(OtherExamples, TheHubReportsABrokenLinkByItsExitStatus)
{
    AgentProcess agent{home};
    agent.run_command("fault set_nick_name die");
    Program program{hub, {}};
    EXPECT_EQ(program.wait(), 3) << program.output();
    EXPECT_EQ(program.count_in_output("set_nick_name: IO_ERROR"), 1);
    EXPECT_EQ(program.count_in_output("stop: "), 0);
}

TEST_F(OtherExamples, TheSensorSleepsWhenItsKeepAliveHasEnded)
{
    AgentProcess agent{home};
    agent.run_command("personality owned-and-signed-in"); // keep-alives need a session
    Program program{sensor, {"--sleep-ms", "1", "--awake-ms", "600000"}};
    for (int time = 1; time <= 3; ++time) {
        program.wait_for_output("send_keepalive: NONE", time);
        program.wait_for_output("keep-alive: result 0", time);
        program.wait_for_output("asleep: for 1 ms", time);
    }
    program.wait_for_output("awake: time 4");
    expect_clean_end(program);
    EXPECT_EQ(program.count_in_output("no result"), 0);
}

TEST_F(OtherExamples, WrongCommandLinesAreRefusedWithTheReason)
{
    const struct {
        const std::string &program;
        std::vector<std::string> arguments;
        const char *complaint;
    } lines[] = {
        {hub, {"--foo"}, "hub: Unknown option --foo\nTry 'hub --help'.\n"},
        {hub, {"--stay", "here"}, "hub: 'here' is no option\nTry 'hub --help'.\n"},
        {sensor, {"--sleep-ms", "0"}, "sensor: times must be above 0\nTry 'sensor --help'.\n"},
        {sensor, {"--awake-ms", "-1"}, "sensor: times must be above 0\nTry 'sensor --help'.\n"},
    };
    for (const auto &line : lines) {
        Program program{line.program, line.arguments};
        EXPECT_EQ(program.wait(), 2);
        EXPECT_EQ(program.error_output(), line.complaint);
        EXPECT_EQ(program.output(), "");
    }
}

TEST_F(OtherExamples, PrintTheirHelp)
{
    for (const std::string &path : {hub, sensor, std::string{KORVANE_WASHER_PATH}}) {
        Program program{path, {"--help"}};
        EXPECT_EQ(program.wait(), 0);
        EXPECT_NE(program.output().find("Exit status: 0 done"), std::string::npos) << program.output();
    }
}

} // namespace
