// SPDX-License-Identifier: Apache-2.0
// A device passes through its whole life with known secrets, under the eyes of every tool. None of them may show a secret:
// neither the logs nor the journal, the control API, the stream, a trace on the screen, a recorded scenario, a process list
// or a file that stays. Every entry of the journal shows the masks of the values instead, which proves that they passed.
#include "e2e/control/control_client.hpp"
#include "planted.hpp"
#include "search.hpp"
#include "support/signing_request.hpp"
#include "testing/support/child_process.hpp"
#include "testing/support/read_file.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <memory>

#include <sys/stat.h>

using namespace kv::test;

namespace {

using Names = SecretSearch::Names;

/// A JSON object with texts as members.
std::string object(const std::vector<std::pair<std::string, std::string>> &members)
{
    std::string text;
    for (const auto &[name, value] : members)
        text += (text.empty() ? "{\"" : ",\"") + name + "\":\"" + value + "\"";
    return text + "}";
}

class DeviceLife : public testing::TestWithParam<const char *> {
protected:
    DeviceLife()
    {
        std::filesystem::create_directory(private_directory);
        for (const Planted &one : planted)
            if (is_at_least(one.masked_since)) // an older agent does not have it, or shows it
                search.add(one.name, one.value());
        const std::string request = request_for(new_key().get());
        search.add("signing_request", request);
        std::ofstream{private_directory / "request"} << request;
    }

    ~DeviceLife() override
    {
        if (device)
            device->signal(SIGTERM);
    }

    bool is_at_least(int version) const { return 1000 * (GetParam()[0] - '0') + (GetParam()[2] - '0') >= version; }

    std::map<std::string, std::optional<std::string>> environment() const
    {
        return {{"KORVANE_LOG", "debug:file:" + (home.root() / "library.log").string()}};
    }

    /// Starts korvanectl and keeps its output for the search.
    std::unique_ptr<ChildProcess> start(std::vector<std::string> words)
    {
        words.insert(words.begin(), KORVANE_CTL_PATH);
        return std::make_unique<ChildProcess>(Command{.words = std::move(words), .environment = environment()});
    }

    std::string output_of_ctl(const std::vector<std::string> &words)
    {
        const auto program = start(words);
        EXPECT_TRUE(program->wait()) << words[0];
        EXPECT_NE(program->output() + program->error_output(), "") << words[0];
        return program->output() + program->error_output();
    }

    void start_agent()
    {
        output_of(Command{.words = {KORVANE_CTL_PATH, "agent", "start", "--agent-program", KORVANE_AGENT_PATH,
                                    "--agent-version", GetParam(), "--", "--http", "0", "--log", home.log(), "--ca-dir",
                                    private_directory / "authority"},
                          .environment = environment()});
        const Document control = control_file(home);
        port = std::atoi(control.at("http.port").c_str());
        token = control.at("http.token");
        search.add("http_token", token);
    }

    /// A file in which the host platform of the device stores what crosses its ports, in plain text.
    std::filesystem::path plain_trace() const { return private_directory / "device.trace"; }

    Response run(const std::string &command, const std::string &body)
    {
        return ControlConnection{home}.post(command, body);
    }

    void phone(const std::string &step, const std::string &with)
    {
        const Response reply = run("phone", R"({"step":")" + step + R"(","with":)" + with + "}");
        EXPECT_EQ(reply.status, http::ok) << step << " " << reply.body;
        shown["reply to phone " + step] = reply.body;
    }

    void emit(const std::string &event, const std::string &values)
    {
        const Response reply = run("emit", R"({"event":")" + event + R"(","values":)" + values + "}");
        EXPECT_EQ(reply.at("peers"), "1") << event << " " << reply.body;
    }

    /// A step of the phone by korvanectl, with its secret in a file instead of the command line.
    void phone_by_ctl(const std::string &step, const std::string &with)
    {
        const std::filesystem::path file = private_directory / "with";
        std::ofstream{file} << with;
        shown["korvanectl phone " + step] = output_of_ctl({"phone", step, "@" + file.string()});
    }

    /// Returns the problem of the scenario; empty if it passed.
    std::string play(const std::string &steps)
    {
        EXPECT_EQ(run("play", R"({"scenario":{"title":"planted","steps":[)" + steps + "]}}").status, http::ok);
        std::string state;
        EXPECT_TRUE(wait_until([&] {
            state = ControlConnection{home}.get("/v1/state?path=play").body;
            return Document{state}.at("state.running") == "false";
        }));
        shown["state of the scenario " + std::to_string(shown.size())] = state;
        return Document{state}.at("state.problem");
    }

    void set_up()
    {
        phone("connect", "{}");
        phone("confirm", "{}");
        phone("pin", object({{"pin", value_of("display_pin")}}));
        phone("enter-pin", object({{"pin", value_of("entered_pin")}}));
        phone("enter-pin", object({{"pin", value_of("display_pin")}}));
        if (is_at_least(1001)) {
            phone("pin", object({{"kind", "ultrasound"}, {"pin", value_of("ultrasound_pin")}}));
            phone("enter-pin", object({{"pin", value_of("ultrasound_pin")}}));
        }
        phone("scan", "{}");
        EXPECT_TRUE(wait_until(
            [&] { return ControlConnection{home}.get("/v1/state?path=setup.networks.%23").at("state") == "1"; }));
        phone_by_ctl("choose", object({{"ssid", "home"}, {"password", value_of("wifi_password")}}));
        phone("choose", R"({"ssid":"attic","hidden":true,"password":")" + value_of("hidden_wifi_password") + R"("})");
        phone("join", "{}");
        phone("provision", object({{"rmd", value_of("mobile_device")}, {"account", value_of("account")}}));
        if (is_at_least(1003)) {
            phone("vendor-info", object({{"text", value_of("phone_vendor_info")}}));
            emit("tnc_result_cb", "[\"" + value_of("terms_result") + "\"]");
        }
        if (is_at_least(1004))
            phone("get-provisioning", object({{"text", value_of("provisioning_request")}}));
        if (is_at_least(2002)) {
            const std::string with = object({{"text", value_of("diagnostics")}});
            EXPECT_EQ(run("cloud", R"({"step":"diagnostics","with":)" + with + "}").status, http::ok);
        }
        phone("finish", "{}");
    }

    /// Scenarios with secrets, also in steps that fail.
    void play_scenarios()
    {
        phone("leave", "{}");
        const std::string choose = R"({"phone":"choose","with":{"ssid":"attic","hidden":true,"password":")" +
                                   value_of("scenario_password") + R"("}})";
        const std::string provision = R"({"phone":"provision","with":)" +
                                      object({{"rmd", value_of("mobile_device")}, {"account", value_of("account")}}) +
                                      "}";
        EXPECT_EQ(play(R"({"phone":"connect"},)" + choose + "," + provision), "");
        const std::string snapshot = ControlConnection{home}.get("/v1/snapshot").at("snapshot");
        EXPECT_EQ(play(R"({"restore":)" + snapshot + "}"), "");
        const std::string pin = "\"" + value_of("expected_pin") + "\"";
        EXPECT_NE(play(R"({"expect":"set_preconfigured_pin","with":{"pin":)" + pin + R"(},"within_ms":1})"), "");
        EXPECT_NE(play(R"({"expect":"set_preconfigured_pin","with":{"pin":{"not":)" + pin + R"(}},"within_ms":1})"),
                  "");
        EXPECT_NE(play(R"({"phone":"enter-pin","with":{"pin":[)" + pin + "]}}"), "");
        EXPECT_NE(play(R"({"emit":"pin_generate_cb","values":[[)" + pin + "]]}"), "");
        EXPECT_NE(play(R"({"restore":{"device_id":[)" + pin + "]}}"), "");
    }

    /// The replies with which a tool or the console shows the agent. `agent` names it.
    void ask_everything(const std::string &agent)
    {
        for (const char *path : {"/v1", "/v1/state", "/v1/describe", "/v1/journal?limit=10000", "/v1/count", "/v1/help",
                                 "/v1/wait?since=1&filter=%7B%22method%22%3A%22signup_cloud%22%7D&within_ms=1"})
            shown[agent + " " + path] = ControlConnection{home}.get(path).body;
        for (const std::vector<std::string> &words : {std::vector<std::string>{"state"},
                                                      {"journal"},
                                                      {"--json", "journal"},
                                                      {"top", "--once"},
                                                      {"doctor"},
                                                      {"describe"},
                                                      {"agent", "status"}})
            shown[agent + " korvanectl " + words.front() + " " + words.back()] = output_of_ctl(words);
    }

    /// What the device received from the cloud is secret too.
    void add_received_secrets()
    {
        const auto received = [this](const char *name) { return read_file(private_directory / name); };
        search.add("key of the authority", received("authority/ca.key"));
        search.add("token", received("token"));
        search.add("certificate", Document{received("certificate")}.at("certificate"));
        search.add("stored_certificate", received("stored_certificate"));
        EXPECT_NE(received("authority/ca.key"), "");
        for (const char *name : {"token", "stored_certificate"})
            EXPECT_EQ(received(name) != "", is_at_least(2003)) << name;
    }

    void expect_no_secret(const std::string &what, const std::string &text)
    {
        EXPECT_EQ(search.found_in(text), Names{}) << "in " << what;
    }

    void expect_every_mask(const std::string &what, const std::string &text)
    {
        for (const Planted &one : planted) {
            const bool is_masked = one.masked_since > 0 && is_at_least(one.masked_since);
            EXPECT_TRUE(!is_masked || text.find(one.mask()) != std::string::npos) << one.name << " in " << what;
        }
    }

    AgentHome home;
    const std::filesystem::path private_directory = home.root() / "private";
    SecretSearch search;
    int port = 0;
    std::string token;
    std::unique_ptr<ChildProcess> device;
    std::map<std::string, std::string> shown; // by the name of the output
};

INSTANTIATE_TEST_SUITE_P(EveryWireFormat, DeviceLife, testing::Values("1.2", "1.4", "2.3"), [](const auto &version) {
    return std::string{"Version"} + version.param[0] + "_" + version.param[2];
});

TEST_P(DeviceLife, ShowsNoSecretInAnyOutput)
{
    start_agent();
    ControlConnection stream{port};
    stream.host = "127.0.0.1:" + std::to_string(port);
    ASSERT_EQ(stream.upgrade("/v1/stream?since=1&token=" + token).status, http::switching_protocols);
    const std::filesystem::path recorded = home.root() / "recorded.json";
    const auto follower = start({"journal", "--follow"});
    const auto top = start({"top"});
    const auto recorder = start({"record", recorded});
    device = start({"trace", "--", KORVANE_SECRETS_DEVICE_PATH, private_directory});
    ASSERT_TRUE(device->wait_for_output("ready\n"));

    set_up();
    play_scenarios();
    add_received_secrets();
    ask_everything("first agent");
    EXPECT_EQ(search.found_in_processes(), Names{});
    for (const auto &program : {follower.get(), top.get(), recorder.get()})
        program->signal(SIGINT);
    for (const auto &[name, program] :
         {std::pair{"journal --follow", follower.get()}, {"top", top.get()}, {"record", recorder.get()}}) {
        EXPECT_TRUE(program->wait()) << name;
        shown[std::string{"korvanectl "} + name] = program->output() + program->error_output();
    }

    run("update", R"({"step":"start"})");
    run("update", R"({"step":"install"})");
    EXPECT_TRUE(wait_until([&] { return read_file(home.log()).find(R"("update":"install")") != std::string::npos; }));
    run("update", R"({"step":"complete"})");
    EXPECT_TRUE(device->wait_for_output("ready\n", 2));
    for (Frame frame = stream.next_frame(); frame.opcode == 1; frame = stream.next_frame()) {
        shown["stream"] += frame.payload + "\n";
        if (frame.payload.find(R"("update":"complete")") != std::string::npos)
            break;
    }

    ::kill(home.latest_agent(), SIGKILL);
    EXPECT_TRUE(device->wait_for_output("ready\n", 3)) << "the library starts the agent again";
    EXPECT_EQ(search.found_in_processes(), Names{});
    add_received_secrets();
    ask_everything("second agent");
    device->signal(SIGTERM);
    EXPECT_EQ(device->wait(), 0);
    output_of_ctl({"agent", "stop"});

    for (const auto &[name, text] : shown)
        expect_no_secret(name, text);
    expect_no_secret("korvanectl trace", device->output() + device->error_output());
    const std::string agents_output = home.runtime() / "agent.log"; // with the address of the console
    EXPECT_EQ(search.found_below(home.root(), private_directory), Names{agents_output + ": http_token"});

    for (const char *name : {"stream", "korvanectl journal --follow", "first agent /v1/journal?limit=10000"})
        expect_every_mask(name, shown[name]);
    expect_every_mask("the agent's log", read_file(home.log()));
    expect_every_mask("the agent's verbose output", read_file(home.runtime() / "agent.log"));
    expect_every_mask("korvanectl trace", device->output());
}

/// The outputs that hold secrets by their nature are for their owner only. The search finds the values there.
TEST_P(DeviceLife, StoresSecretsOnlyInFilesOfTheOwner)
{
    start_agent();
    Command command{.words = {KORVANE_SECRETS_DEVICE_PATH, private_directory}, .environment = environment()};
    command.environment["KORVANE_TRACE"] = plain_trace();
    device = std::make_unique<ChildProcess>(command);
    ASSERT_TRUE(device->wait_for_output("ready\n"));
    set_up();
    for (const Planted &one : planted) {
        const bool is_sent = one.masked_since > 0 && is_at_least(one.masked_since) &&
                             std::string{"scenario_password"} != one.name; // no scenario is played here
        const auto is_in_trace = [&] { return search.found_in(read_file(plain_trace())).count(one.name) == 1; };
        EXPECT_TRUE(!is_sent || wait_until(is_in_trace)) << one.name;
    }
    add_received_secrets();
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{"trace", "--read", plain_trace()}, {"--json", "trace", "--read", plain_trace()}})
        expect_no_secret("a printed trace", output_of_ctl(words));

    const Names in_snapshot = search.found_in(ControlConnection{home}.get("/v1/snapshot").body);
    for (const char *name : {"preconfigured_pin", "access_token", "refresh_token"})
        EXPECT_EQ(in_snapshot.count(name), 1U) << name;
    EXPECT_EQ(search.found_in_file(home.runtime() / "control.json"),
              Names{(home.runtime() / "control.json").string() + ": http_token"});

    for (const std::filesystem::path &file :
         {plain_trace(), home.log(), home.runtime() / "agent.log", home.runtime() / "control.json",
          home.root() / "library.log", private_directory / "authority/ca.key"}) {
        struct stat status {};
        ASSERT_EQ(::stat(file.c_str(), &status), 0) << file;
        EXPECT_EQ(status.st_mode & 0777, 0600U) << file;
    }
    device->signal(SIGTERM);
    EXPECT_EQ(device->wait(), 0);
    output_of_ctl({"agent", "stop"});
}

} // namespace
