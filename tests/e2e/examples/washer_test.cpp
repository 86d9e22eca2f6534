// SPDX-License-Identifier: Apache-2.0
// The example washer: failures of its agent, and its command line.
#include "washer_fixture.hpp"

using namespace kv::test;

namespace {

TEST_F(Washer, SurvivesTheEndOfItsAgent)
{
    AgentProcess agent{home};
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.signal(SIGKILL);
    program.wait_for_output("connection: lost, NONE");
    program.wait_for_output("washer: ready", 2); // the platform has started the agent again
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, SurvivesAnAgentThatDiesDuringACall)
{
    AgentProcess agent{home};
    agent.run_command("fault set_language_list die");
    Program program{washer, with_short_join({})};
    program.wait_for_output("set_language_list: IO_ERROR");
    program.wait_for_output("washer: ready");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(program.count_in_output("connection: not configured, IO_ERROR"), 1);
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, SurvivesAnAgentThatDoesNotReply)
{
    AgentProcess agent{home};
    agent.run_command("fault set_tnc_url silent");
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", "2000", 1);
    Program program{washer, with_short_join({})};
    ::unsetenv("KORVANE_REPLY_TIMEOUT_MS");
    program.wait_for_output("set_tnc_url: IO_ERROR");
    program.wait_for_output("washer: ready");
    expect_clean_end(program);
}

TEST_F(Washer, ConnectsToAnUpdatedAgent)
{
    AgentProcess agent{home, {"--agent-version", "1.2"}};
    ::setenv("KORVANE_LOG", ("info:file:" + path("log")).c_str(), 1);
    Program program{washer, with_short_join({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    // The washer's subscription takes effect asynchronously, so the first announcements may be lost.
    ASSERT_TRUE(run_main_loop_until([&] {
        agent.run_command("update start");
        return content("log").find("Agent update is started") != std::string::npos;
    }));
    agent.run_command("update install");
    program.wait_for_output("connection: updating, SERVICE_UNAVAILABLE");
    agent.run_command("update complete 2.3");
    program.wait_for_output("washer: ready", 2);
    EXPECT_EQ(program.count_in_output("set_provisioning_language_cb: AGENT_VERSION_LOWER"), 1);
    EXPECT_EQ(program.count_in_output("set_provisioning_language_cb: NONE"), 1);
    expect_clean_end(program);
}

TEST_F(Washer, ReportsFailuresByItsExitStatus)
{
    Program alone{washer, with_short_join({})};
    EXPECT_EQ(alone.wait(), 2);
    EXPECT_EQ(alone.count_in_output("connection: not installed, NOT_SUPPORTED"), 1);
    {
        AgentProcess agent{home, {"--refuse"}};
        Program program{washer, with_short_join({})};
        EXPECT_EQ(program.wait(), 2);
        EXPECT_EQ(program.count_in_output("connection: refused, PERMISSION_DENIED"), 1);
    }
    AgentProcess agent{home};
    agent.run_command("fault start result -1");
    Program without_service{washer, with_short_join({})};
    EXPECT_EQ(without_service.wait(), 1);
    EXPECT_EQ(without_service.count_in_output("start: OPERATION_FAILED"), 1);

    agent.run_command("fault set_tnc_url result -1");
    Program with_a_failure{washer, with_short_join({})};
    with_a_failure.wait_for_output("washer: ready");
    with_a_failure.signal(SIGTERM);
    EXPECT_EQ(with_a_failure.wait(), 1);
    EXPECT_EQ(with_a_failure.count_in_output("set_tnc_url: OPERATION_FAILED"), 1);
}

struct WrongLine {
    const char *name;
    std::vector<std::string> arguments; // RADIO is replaced by a file
    const char *error;
    const char *radio = "[]"; // its content
};

struct WrongCommandLine : Washer, testing::WithParamInterface<WrongLine> {};

TEST_P(WrongCommandLine, IsRefusedWithTheReason)
{
    const std::string radio = file("radio", GetParam().radio);
    std::vector<std::string> arguments = GetParam().arguments;
    for (std::string &argument : arguments)
        if (argument == "RADIO")
            argument = radio;
    Program program{washer, arguments};
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.output(), "");
    EXPECT_NE(program.error_output().find(GetParam().error), std::string::npos) << program.error_output();
    EXPECT_NE(program.error_output().find("Try 'washer --help'"), std::string::npos) << program.error_output();
}

// One row per line.
// clang-format off
const WrongLine wrong_lines[] = {
    {.name = "UnknownOption", .arguments = {"--spin"}, .error = "Unknown option --spin"},
    {.name = "Argument", .arguments = {"now"}, .error = "'now' is no option"},
    {.name = "NegativeTime", .arguments = {"--join-ms", "-1"}, .error = "--join-ms must be 0 or above, not -1"},
    {.name = "NoTime", .arguments = {"--join-ms", "soon"}, .error = "for --join-ms"},
    {.name = "NoValue", .arguments = {"--state"}, .error = "Missing argument for --state"},
    {.name = "NoRadio", .arguments = {"--radio", "/nonexistent/radio"}, .error = "/nonexistent/radio"},
    {.name = "NoSigningRequest", .arguments = {"--csr", "/nonexistent/csr"}, .error = "/nonexistent/csr: no such file"},
    {.name = "NoAccount", .arguments = {"--account", "/nonexistent/account"}, .error = "/nonexistent/account"},
    {.name = "AccountOfAnotherForm", .arguments = {"--account", "RADIO"}, .error = "not a JSON object"},
    {.name = "StateOfAnotherForm", .arguments = {"--state", "RADIO"}, .error = "radio: "},
    {.name = "RadioOfAnotherForm", .arguments = {"--radio", "RADIO"}, .error = "not a JSON array of access points", .radio = "{}"},
    {.name = "NoObject", .arguments = {"--radio", "RADIO"}, .error = "access point 2: it is no object", .radio = R"([{"ssid":"a"},7])"},
    {.name = "NoName", .arguments = {"--radio", "RADIO"}, .error = "access point 1: it has either \"ssid\" or \"ssid_hex\"", .radio = "[{}]"},
    {.name = "TwoNames", .arguments = {"--radio", "RADIO"}, .error = "it has either", .radio = R"([{"ssid":"a","ssid_hex":"61"}])"},
    {.name = "EmptyName", .arguments = {"--radio", "RADIO"}, .error = "it has a name of 1 to 32 bytes", .radio = R"([{"ssid":""}])"},
    {.name = "LongName", .arguments = {"--radio", "RADIO"}, .error = "it has a name of 1 to 32 bytes", .radio = R"([{"ssid":"123456789012345678901234567890123"}])"},
    {.name = "OddDigits", .arguments = {"--radio", "RADIO"}, .error = "pairs of hexadecimal digits", .radio = R"([{"ssid_hex":"616"}])"},
    {.name = "NoDigits", .arguments = {"--radio", "RADIO"}, .error = "pairs of hexadecimal digits", .radio = R"([{"ssid_hex":"6g"}])"},
    {.name = "NoNumber", .arguments = {"--radio", "RADIO"}, .error = "\"channel\" is a whole number of 32 bits", .radio = R"([{"ssid":"a","channel":"6"}])"},
    {.name = "HugeNumber", .arguments = {"--radio", "RADIO"}, .error = "\"max_rate\" is a whole number of 32 bits", .radio = R"([{"ssid":"a","max_rate":2147483648}])"},
    {.name = "BrokenNumber", .arguments = {"--radio", "RADIO"}, .error = "\"frequency\" is a whole number of 32 bits", .radio = R"([{"ssid":"a","frequency":2412.5}])"},
    {.name = "NoText", .arguments = {"--radio", "RADIO"}, .error = "\"password\" is a text", .radio = R"([{"ssid":"a","password":1}])"},
    {.name = "MisspeltMember", .arguments = {"--radio", "RADIO"}, .error = "\"chanel\" is not known", .radio = R"([{"ssid":"a","chanel":1}])"},
    {.name = "MoreThanJson", .arguments = {"--radio", "RADIO"}, .error = "not a JSON array of access points", .radio = "[] []"},
    {.name = "NoTruth", .arguments = {"--radio", "RADIO"}, .error = "\"gone\" is true or false", .radio = R"([{"ssid":"a","gone":1}])"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(OfTheWasher, WrongCommandLine, testing::ValuesIn(wrong_lines),
                         [](const auto &line) { return std::string{line.param.name}; });

} // namespace
