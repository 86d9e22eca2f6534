// SPDX-License-Identifier: Apache-2.0
// korvanectl with control sockets that reply with anything but what an agent replies. Each verb must end with an exit
// status and a message, never by a signal.
#include "fake_agent.hpp"

#include "support/agent_process.hpp"
#include "support/program.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace kv::test {
namespace {

enum Status { done = 0, failed = 1, no_agent = 3 };

using Words = std::vector<std::string>;

std::string joined(const Words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

/// A run of korvanectl that has ended.
struct EndedRun {
    int status;
    std::string out;
    std::string err;
};

EndedRun korvanectl(const Words &words)
{
    Program program{KORVANE_CTL_PATH, words};
    const int status = program.wait();
    return {status, program.output(), program.error_output()};
}

/// Runs the words and expects the exit status and, unless that is 0, a message.
EndedRun expect_status(const Words &words, int status)
{
    SCOPED_TRACE("korvanectl " + joined(words));
    EndedRun run = korvanectl(words);
    EXPECT_EQ(run.status, status) << run.out << run.err;
    const bool has_message = run.err.rfind("korvanectl: ", 0) == 0;
    EXPECT_TRUE(status == done || has_message) << run.err;
    return run;
}

class HostileAgent : public testing::Test {
protected:
    HostileAgent() { setenv("KORVANE_AGENT", "/nonexistent/korvane-agent", true); }
    ~HostileAgent() override { unsetenv("KORVANE_AGENT"); }
    HostileAgent(const HostileAgent &) = delete;
    HostileAgent &operator=(const HostileAgent &) = delete;

    AgentHome home_{};
    std::string file_ = home_.root() / "recorded.json";
    const std::vector<Words> verbs_{
        {"agent", "stop"},
        {"do"},
        {"do", "emit", "x"},
        {"emit", "x"},
        {"emit", "--help"},
        {"help", "emit"},
        {"journal"},
        {"journal", "--follow"},
        {"top", "--once"},
        {"top"},
        {"journal", "--follow", "--filter", R"({"method":"start"})"},
        {"record", file_},
        {"record", file_, "--", "true"},
    };
};

/// Text nested so deeply that printing it recursively would exhaust the stack.
std::string deep_json()
{
    return std::string(500'000, '[') + std::string(500'000, ']');
}

// ---- The overview, which every verb reads first, in the same way: one row runs every verb, the others some. ----

TEST_F(HostileAgent, AWrongOverviewIsReported)
{
    const std::string name = R"("name":"emit")";
    const struct {
        std::string what;
        std::string bytes;
        std::string message;
    } rows[] = {
        {"empty object", http_reply("{}"), "member 'version' must be text"},
        {"array", http_reply("[]"), "not a JSON object"},
        {"number", http_reply("7"), "not a JSON object"},
        {"null", http_reply("null"), "not a JSON object"},
        {"text", http_reply(R"("agent")"), "not a JSON object"},
        {"not JSON", http_reply("<html>"), "not a JSON object"},
        {"empty", http_reply(""), "not a JSON object"},
        {"number as version", http_reply(R"({"version":2.3,"commands":[]})"), "member 'version' must be text"},
        {"no commands", http_reply(R"({"version":"2.3"})"), "member 'commands' must be an array"},
        {"object as commands", http_reply(R"({"version":"2.3","commands":{"emit":1}})"), "must be an array"},
        {"number as command", http_reply(R"({"version":"2.3","commands":[7]})"), "not a JSON object"},
        {"command without members", http_reply(R"({"version":"2.3","commands":[{)" + name + "}]}"), "must be text"},
        {"number as name",
         http_reply(R"({"version":"2.3","commands":[{"name":7,"form":"","help":"","parameters":[]}]})"),
         "member 'name' must be text"},
        {"text as parameters",
         http_reply(R"({"version":"2.3","commands":[{)" + name + R"(,"form":"","help":"","parameters":"EVENT"}]})"),
         "member 'parameters' must be an array"},
        {"parameter without members",
         http_reply(R"({"version":"2.3","commands":[{)" + name + R"(,"form":"","help":"","parameters":[{}]}]})"),
         "member 'kind' must be text"},
        {"invalid UTF-8", http_reply("{\"version\":\"\xff\xfe\",\"commands\":[]}"), "not a JSON object"},
        {"deep", http_reply(deep_json()), "not a JSON object"},
        {"long", http_reply("[" + std::string(2'000'000, ' ') + "]"), "not a JSON object"},
        {"error without a body", http_reply("", "500 Oops"), "HTTP status 500"},
        {"error with a number", http_reply(R"({"error":7})", "400 No"), "7"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const FakeAgent agent{home_.runtime(), [&](const std::string &, const std::string &) { return row.bytes; }};
        const bool first = &row == std::begin(rows);
        for (const Words &words : first ? verbs_ : std::vector<Words>{{"emit", "x"}, {"journal"}})
            EXPECT_NE(expect_status(words, failed).err.find(row.message), std::string::npos);
        expect_status({"agent", "status"}, failed);
        expect_status({"agent", "start"}, failed);
        expect_status({"--help"}, done);
        expect_status({"--complete", ""}, done);
        expect_status({"--complete", "emit", ""}, done);
    }
}

TEST_F(HostileAgent, ABrokenConnectionIsReportedAsNoAgent)
{
    const struct {
        std::string what;
        std::string bytes;
    } rows[] = {
        {"nothing", ""},
        {"half a head", "HTTP/1.1 200 O"},
        {"half a body", "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n{\"version\""},
        {"a body of an exabyte", "HTTP/1.1 200 OK\r\nContent-Length: 1152921504606846976\r\n\r\n{"},
        {"a cut chunk", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nff\r\n{"},
        {"not HTTP", "\x01\x02\x03 hello\r\n\r\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const FakeAgent agent{home_.runtime(), [&](const std::string &, const std::string &) { return row.bytes; }};
        const bool first = &row == std::begin(rows);
        for (const Words &words : first ? verbs_ : std::vector<Words>{{"emit", "x"}, {"journal"}})
            expect_status(words, no_agent);
        const EndedRun status = korvanectl({"agent", "status"}); // prints this as its result, not as an error
        EXPECT_EQ(status.status, no_agent);
        EXPECT_EQ(status.out.rfind("no agent runs in ", 0), 0U) << status.out;
        expect_status({"agent", "start"}, failed); // tries to start KORVANE_AGENT, which does not exist
        expect_status({"--help"}, done);
        expect_status({"--complete", ""}, done);
    }
}

// ---- Replies to commands of an agent whose overview is right ----

std::string command(const std::string &name, const std::string &parameters = "")
{
    return R"({"name":")" + name + R"(","form":"","help":"does it","parameters":[)" + parameters + "]}";
}

const std::string overview =
    R"({"version":"2.3","commands":[)" + command("emit", R"({"name":"event","kind":"word","required":true})") + "," +
    command("journal") + "," + command("wait") + "," + command("describe") + "," + command("quit") + "]}";

/// An agent with a right overview and one reply to every command.
FakeAgent::Answer replying(const std::string &bytes)
{
    return
        [bytes](const std::string &, const std::string &path) { return path == "/v1" ? http_reply(overview) : bytes; };
}

TEST_F(HostileAgent, AReplyThatIsNotAnObjectIsReported)
{
    for (const std::string &body :
         {std::string{"[]"}, std::string{"7"}, std::string{"null"}, std::string{"<html>"}, std::string{""},
          std::string{"{\"a\":\"\xff\"}"}, deep_json(), "{\"a\":" + deep_json() + "}"}) {
        SCOPED_TRACE(body.substr(0, 20));
        const FakeAgent agent{home_.runtime(), replying(http_reply(body))};
        for (const Words &words :
             {Words{"emit", "x"}, Words{"do", "emit", "x"}, Words{"journal"}, Words{"top"}, Words{"top", "--once"},
              Words{"record", file_}, Words{"agent", "stop"}, Words{"journal", "--follow"}})
            EXPECT_NE(expect_status(words, failed).err.find("not a JSON object"), std::string::npos);
        expect_status({"--complete", "emit", ""}, done);
    }
}

TEST_F(HostileAgent, AWrongJournalIsReported)
{
    for (const char *body :
         {"{}", R"({"entries":[]})", R"({"next":1})", R"({"entries":[],"next":"1"})", R"({"entries":[],"next":1.5})",
          R"({"entries":[],"next":1e300})", R"({"entries":{},"next":1})", R"({"entries":[7],"next":1})",
          R"({"entries":[[]],"next":1})", R"({"entries":"","next":null})"}) {
        SCOPED_TRACE(body);
        const FakeAgent agent{home_.runtime(), replying(http_reply(body))};
        for (const Words &words :
             {Words{"journal"}, Words{"journal", "--follow"}, Words{"top", "--once"}, Words{"top"},
              Words{"record", file_}, Words{"journal", "--follow", "--filter", R"({"method":"start"})"}})
            expect_status(words, failed);
    }
}

TEST_F(HostileAgent, EntriesWithAnyMembersArePrinted)
{
    const std::string entries =
        R"([{},{"time_us":"noon","peer":7,"method":7,"arguments":[1],"answer":3,"ok":"yes","duration_us":[]},)"
        R"({"method":"start","answer":{"result":"zero"},"time_us":1e300,"fault":{},"problem":null},)"
        R"({"event":null,"values":"all"},{"time_us":-9223372036854775808,"step":[],"line":{}},)"
        R"({"command":true,"with":[[]],"ok":false},{"connection":"\u001b]0;title\u0007"},{"update":1},{"agent":{}}])";
    const FakeAgent agent{home_.runtime(), replying(http_reply(R"({"next":99,"entries":)" + entries + "}"))};
    const EndedRun run = expect_status({"journal"}, done);
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 9) << run.out;
    EXPECT_EQ(run.out.find('\x1b'), std::string::npos) << "an entry can control the terminal";
    expect_status({"journal", "--json"}, done);
    expect_status({"top", "--once"}, done);
}

TEST_F(HostileAgent, AWaitThatIsRefusedAtOnceEndsFollowing)
{
    const FakeAgent agent{home_.runtime(), [](const std::string &, const std::string &path) {
                              if (path == "/v1")
                                  return http_reply(overview);
                              return path == "/v1/wait" ? http_reply(R"({"error":"not now"})", "400 Bad Request")
                                                        : http_reply(R"({"entries":[],"next":1})");
                          }};
    const EndedRun run = expect_status({"journal", "--follow", "--filter", R"({"method":"start"})"}, failed);
    EXPECT_NE(run.err.find("not now"), std::string::npos) << run.err;
}

TEST_F(HostileAgent, ADescriptionThatIsWrongCompletesNothing)
{
    for (const char *body : {"{}", R"({"events":7})", R"({"events":[7,{},{"name":[]},null]})", R"({"interface":[]})"}) {
        SCOPED_TRACE(body);
        const FakeAgent agent{home_.runtime(), replying(http_reply(body))};
        EXPECT_EQ(expect_status({"--complete", "emit", ""}, done).out, "");
        EXPECT_EQ(expect_status({"--complete", "do", "emit", ""}, done).out, "");
    }
    const FakeAgent agent{home_.runtime(), replying(http_reply(R"({"events":["good_cb","two\nlines","\u0007"]})"))};
    EXPECT_EQ(expect_status({"--complete", "emit", ""}, done).out, "good_cb\n");
}

TEST_F(HostileAgent, CommandsWhoseNamesCannotBeVerbsAreLeftOut)
{
    const std::string names = R"({"version":"2.3","commands":[)" + command("") + "," + command("--help") + "," +
                              command("a b") + "," + command("../x") + "," + command("emit") + "," + command("emit") +
                              "," + command("run") + "," + command("\\u001b[2J") + "]}";
    const FakeAgent agent{home_.runtime(), [&](const std::string &, const std::string &) { return http_reply(names); }};
    EXPECT_EQ(expect_status({"--help"}, done).out.find('\x1b'), std::string::npos);
    EXPECT_EQ(expect_status({"do"}, done).out.find('\x1b'), std::string::npos);
    expect_status({"emit"}, done);
}

// ---- The stream of entries ----

TEST_F(HostileAgent, AWrongStreamEndsFollowing)
{
    constexpr int text = 1;
    constexpr int binary = 2;
    constexpr int close = 8;
    const std::string huge_frame{"\x81\x7f\x00\x00\x01\x00\x00\x00\x00\x00", 10}; // of a terabyte
    for (const std::string &frames :
         {websocket_frame(text, "[]"), websocket_frame(text, "7"), websocket_frame(text, "{"),
          websocket_frame(text, ""), websocket_frame(text, "\xff"), websocket_frame(binary, std::string(4, '\0')),
          websocket_frame(close, "\x03\xe8 over"), std::string{"\x81"} + "\x7d{", huge_frame}) {
        SCOPED_TRACE(frames);
        FakeAgent agent{home_.runtime(), [&](const std::string &request, const std::string &path) {
                            if (path == "/v1")
                                return http_reply(overview);
                            if (path != "/v1/stream")
                                return http_reply(R"({"entries":[],"next":1})");
                            return websocket_reply(request, frames + websocket_frame(close, ""));
                        }};
        expect_status({"journal", "--follow"}, failed);
        expect_status({"record", file_}, failed);
    }
}

TEST_F(HostileAgent, AStreamThatIsRefusedEndsFollowing)
{
    const FakeAgent agent{home_.runtime(), [](const std::string &, const std::string &path) {
                              if (path == "/v1")
                                  return http_reply(overview);
                              return http_reply(R"({"entries":[],"next":1})",
                                                path == "/v1/stream" ? "404 Not Found" : "200 OK");
                          }};
    expect_status({"journal", "--follow"}, failed);
    expect_status({"record", file_}, failed);
}

// ---- The file next to the control socket ----

TEST_F(HostileAgent, AWrongProcessNumberIsIgnored)
{
    const FakeAgent agent{home_.runtime(), replying(http_reply(R"({"ok":true})"))};
    for (const char *content : {"", "{", "[]", "7", R"({"pid":"one"})", R"({"pid":-1})", R"({"pid":1e300})",
                                R"({"pid":99999999999})", R"({"pid":null})"}) {
        SCOPED_TRACE(content);
        std::ofstream{home_.runtime() / "control.json"} << content;
        EXPECT_NE(expect_status({"agent", "status", "--json"}, done).out.find(R"("pid":0)"), std::string::npos);
        expect_status({"agent", "stop"}, done);
    }
}

} // namespace
} // namespace kv::test
