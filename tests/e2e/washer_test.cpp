// SPDX-License-Identifier: Apache-2.0
// The washer in good and bad times, and its command line.
#include "washer_fixture.hpp"

using namespace kv::test;

namespace {

TEST_F(Washer, OutlivesItsAgent)
{
    AgentProcess agent{home};
    Program program{washer, with({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    agent.signal(SIGKILL);
    program.wait_for_output("disconnected: NONE");
    program.wait_for_output("washer: ready", 2); // the platform has started the agent again
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, OutlivesAnAgentThatDiesDuringACall)
{
    AgentProcess agent{home};
    agent.run_command("fault set_language_list die");
    Program program{washer, with({})};
    program.wait_for_output("set_language_list: IO_ERROR");
    program.wait_for_output("washer: ready");
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0) << program.output();
    EXPECT_EQ(program.count_in_output("io error: the link to the agent broke during a call"), 1);
    EXPECT_EQ(::kill(home.latest_agent(), SIGTERM), 0);
}

TEST_F(Washer, OutlivesAnAgentThatIsSilent)
{
    AgentProcess agent{home};
    agent.run_command("fault set_tnc_url silent");
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", "200", 1);
    Program program{washer, with({})};
    ::unsetenv("KORVANE_REPLY_TIMEOUT_MS");
    program.wait_for_output("set_tnc_url: IO_ERROR");
    program.wait_for_output("washer: ready");
    stops(program);
}

TEST_F(Washer, ConnectsToTheAgentThatReplacesItsOwn)
{
    AgentProcess agent{home, {"--agent-version", "1.2"}};
    ::setenv("KORVANE_LOG", ("info:file:" + path("log")).c_str(), 1);
    Program program{washer, with({})};
    ASSERT_TRUE(program.wait_for_output("washer: ready"));
    // The bus learns in the background that the washer listens: what is announced at once may come too early.
    ASSERT_TRUE(run_main_loop_until([&] {
        agent.run_command("update start");
        return content("log").find("Agent update is started") != std::string::npos;
    }));
    agent.run_command("update install");
    program.wait_for_output("disconnected: SERVICE_UNAVAILABLE");
    program.wait_for_output("agent: is being replaced, waiting");
    agent.run_command("update complete 2.3");
    program.wait_for_output("washer: ready", 2);
    EXPECT_EQ(program.count_in_output("set_provisioning_language_cb: AGENT_VERSION_LOWER"), 1);
    EXPECT_EQ(program.count_in_output("set_provisioning_language_cb: NONE"), 1);
    stops(program);
}

TEST_F(Washer, SaysByItsExitStatusHowItWent)
{
    Program alone{washer, with({})};
    EXPECT_EQ(alone.wait(), 2);
    EXPECT_EQ(alone.count_in_output("initialize: NOT_SUPPORTED"), 1);
    {
        AgentProcess agent{home, {"--refuse"}};
        Program program{washer, with({})};
        EXPECT_EQ(program.wait(), 2);
        EXPECT_EQ(program.count_in_output("rejected: PERMISSION_DENIED"), 1);
    }
    AgentProcess agent{home};
    agent.run_command("fault start result -1");
    Program without_service{washer, with({})};
    EXPECT_EQ(without_service.wait(), 1);
    EXPECT_EQ(without_service.count_in_output("start: OPERATION_FAILED"), 1);

    agent.run_command("fault set_tnc_url result -1");
    Program with_a_failure{washer, with({})};
    with_a_failure.wait_for_output("washer: ready");
    with_a_failure.signal(SIGTERM);
    EXPECT_EQ(with_a_failure.wait(), 1);
    EXPECT_EQ(with_a_failure.count_in_output("set_tnc_url: OPERATION_FAILED"), 1);
}

struct WrongLine {
    const char *name;
    std::vector<std::string> arguments;
    const char *complaint;
    const char *radio = "[]";
};

struct AWrongCommandLine : Washer, testing::WithParamInterface<WrongLine> {};

TEST_P(AWrongCommandLine, IsRefusedWithTheReason)
{
    const std::string radio = file("radio", GetParam().radio);
    std::vector<std::string> arguments = GetParam().arguments;
    for (std::string &argument : arguments)
        if (argument == "RADIO")
            argument = radio;
    Program program{washer, arguments};
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.output(), "");
    EXPECT_NE(program.error_output().find(GetParam().complaint), std::string::npos) << program.error_output();
    EXPECT_NE(program.error_output().find("Try 'washer --help'"), std::string::npos) << program.error_output();
}

INSTANTIATE_TEST_SUITE_P(
    OfTheWasher, AWrongCommandLine,
    testing::Values(
        WrongLine{"UnknownOption", {"--spin"}, "Unknown option --spin"},
        WrongLine{"Argument", {"now"}, "'now' is no option"},
        WrongLine{"NegativeTime", {"--join-ms", "-1"}, "--join-ms must be 0 or above, not -1"},
        WrongLine{"NoTime", {"--join-ms", "soon"}, "for --join-ms"},
        WrongLine{"NoValue", {"--state"}, "Missing argument for --state"},
        WrongLine{"NoRadio", {"--radio", "/nonexistent/radio"}, "/nonexistent/radio"},
        WrongLine{"NoSigningRequest", {"--csr", "/nonexistent/csr"}, "/nonexistent/csr: no such file"},
        WrongLine{"NoAccount", {"--account", "/nonexistent/account"}, "/nonexistent/account"},
        WrongLine{"AccountOfAnotherForm", {"--account", "RADIO"}, "not a JSON object"},
        WrongLine{"StateOfAnotherForm", {"--state", "RADIO"}, "radio: "},
        WrongLine{"RadioOfAnotherForm", {"--radio", "RADIO"}, "not a JSON array of access points", "{}"},
        WrongLine{"NoObject", {"--radio", "RADIO"}, "access point 2: it is no object", R"([{"ssid":"a"},7])"},
        WrongLine{"NoName", {"--radio", "RADIO"}, "access point 1: it has either \"ssid\" or \"ssid_hex\"", "[{}]"},
        WrongLine{"TwoNames", {"--radio", "RADIO"}, "it has either", R"([{"ssid":"a","ssid_hex":"61"}])"},
        WrongLine{"EmptyName", {"--radio", "RADIO"}, "it has a name of 1 to 32 bytes", R"([{"ssid":""}])"},
        WrongLine{"LongName",
                  {"--radio", "RADIO"},
                  "it has a name of 1 to 32 bytes",
                  R"([{"ssid":"123456789012345678901234567890123"}])"},
        WrongLine{"OddDigits", {"--radio", "RADIO"}, "pairs of hexadecimal digits", R"([{"ssid_hex":"616"}])"},
        WrongLine{"NoDigits", {"--radio", "RADIO"}, "pairs of hexadecimal digits", R"([{"ssid_hex":"6g"}])"},
        WrongLine{"NoNumber",
                  {"--radio", "RADIO"},
                  "\"channel\" is a whole number of 32 bits",
                  R"([{"ssid":"a","channel":"6"}])"},
        WrongLine{"HugeNumber",
                  {"--radio", "RADIO"},
                  "\"max_rate\" is a whole number of 32 bits",
                  R"([{"ssid":"a","max_rate":2147483648}])"},
        WrongLine{"BrokenNumber",
                  {"--radio", "RADIO"},
                  "\"frequency\" is a whole number of 32 bits",
                  R"([{"ssid":"a","frequency":2412.5}])"},
        WrongLine{"NoText", {"--radio", "RADIO"}, "\"password\" is a text", R"([{"ssid":"a","password":1}])"},
        WrongLine{"MisspeltMember", {"--radio", "RADIO"}, "\"chanel\" is not known", R"([{"ssid":"a","chanel":1}])"},
        WrongLine{"MoreThanJson", {"--radio", "RADIO"}, "not a JSON array of access points", "[] []"},
        WrongLine{"NoTruth", {"--radio", "RADIO"}, "\"gone\" is true or false", R"([{"ssid":"a","gone":1}])"}),
    [](const auto &line) { return std::string{line.param.name}; });

} // namespace
