// SPDX-License-Identifier: Apache-2.0
// The control API as its clients meet it: what it answers, and what it refuses of whoever means no good.
#include "control_client.hpp"
#include "support/program.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kv::test;

namespace {

class Control : public testing::Test {
protected:
    AgentHome home;
    AgentProcess agent{home};
};

/// An agent with a port, too.
class ControlPort : public testing::Test {
protected:
    ControlConnection connect() const { return ControlConnection{port}; }
    ControlConnection connect_with_token() const
    {
        ControlConnection connection{port};
        connection.authorization = "Authorization: Bearer " + token + "\r\n";
        return connection;
    }

    AgentHome home;
    const std::string token = "a-token-for-tests";
    AgentProcess agent{home, {"--http", "0", "--http-token", token}};
    const int port = std::atoi(control_file(home).at("http.port").c_str());
};

TEST_F(Control, SaysWhatThereIs)
{
    const Response response = ControlConnection{home}.get("/v1");
    EXPECT_EQ(response.status, 200);
    EXPECT_TRUE(response.has_header("Content-Type: application/json"));
    EXPECT_EQ(response.at("agent"), "korvane-agent");
    EXPECT_EQ(response.at("version"), "2.3");
    EXPECT_EQ(response.at("commands.0"),
              R"({"name":"state","form":"[PATH]","help":)" +
                  Document{response.body}.at("commands.0.help").insert(0, "\"") +
                  R"(","changes":false,"parameters":[{"name":"path","kind":"word","required":false}]})");
    for (const char *name : {"emit", "fault", "update", "phone", "cloud", "clock", "journal", "wait", "describe"})
        EXPECT_NE(response.body.find(R"("name":")" + std::string{name} + '"'), std::string::npos) << name;
}

TEST_F(Control, RunsCommands)
{
    ControlConnection connection{home};
    EXPECT_EQ(connection.post("update", R"({"step":"ready","value":"on"})").body, R"({"ok":true})");
    EXPECT_EQ(connection.get("/v1/state?path=update_ready").body, R"({"ok":true,"state":true})");
    EXPECT_EQ(connection.ask("POST", "/v1/state").status, 200) << "no body is an empty one";
    EXPECT_EQ(connection.post("quit").body, R"({"ok":true})");
    EXPECT_EQ(agent.wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(home.runtime() / "control"));
    EXPECT_FALSE(std::filesystem::exists(home.runtime() / "control.json"));
}

TEST_F(Control, SaysWhatIsWrongWithARequest)
{
    ControlConnection connection{home};
    struct Wrong {
        const char *method;
        const char *target;
        std::string body;
        int status;
        const char *reason;
    };
    const Wrong wrong[] = {
        {"POST", "/v1/no-such-command", "{}", 404, "there is no command 'no-such-command'"},
        {"GET", "/v1/no-such-command", "", 404, "there is no command 'no-such-command'"},
        {"POST", "/v1/state/more", "{}", 404, "there is no command 'state/more'"},
        {"GET", "/no-such-page", "", 404, "there is nothing here"},
        {"GET", "/v2", "", 404, "there is nothing here"},
        {"GET", "/v1/stream/more", "", 404, "there is no command 'stream/more'"},
        {"GET", "/v1/quit", "", 405, "this takes POST"},
        {"PUT", "/v1/state", "{}", 405, "this takes GET, POST"},
        {"DELETE", "/v1", "", 405, "this takes GET"},
        {"POST", "/", "{}", 405, "this takes GET"},
        {"GET", "/v1/stream", "", 426, "this is a WebSocket"},
        {"POST", "/v1/emit", "{", 400, "not JSON"},
        {"POST", "/v1/emit", "hello", 400, "not JSON"},
        {"POST", "/v1/emit", "{} {}", 400, "not JSON"},
        {"POST", "/v1/emit", std::string{"{}\0{}", 5}, 400, "not JSON"},
        {"POST", "/v1/emit", std::string(100'000, '['), 400, "not JSON"},
        {"POST", "/v1/emit", "[]", 400, "the arguments must be a JSON object"},
        {"POST", "/v1/emit", "7", 400, "the arguments must be a JSON object"},
        {"POST", "/v1/emit", "{}", 400, "'event' is missing"},
        {"POST", "/v1/emit", R"({"event":7})", 400, "'event' must be a text, not 7"},
        {"POST", "/v1/emit", R"({"event":["a"]})", 400, "'event' must be a text"},
        {"POST", "/v1/emit", R"({"event":"a","colour":"red"})", 400, "there is no 'colour' here"},
        {"POST", "/v1/emit", R"({"event":"no_such_cb"})", 400, "there is no event 'no_such_cb'"},
        {"POST", "/v1/emit", R"({"event":"status_changed_cb","values":["1"]})", 400, "must be a whole number"},
        {"POST", "/v1/emit", R"({"event":"status_changed_cb","values":{}})", 400, "status_changed_cb carries [status]"},
        {"POST", "/v1/fault", R"({"method":"start","form":"delay","value":1e99})", 400, "must be a whole number"},
        {"POST", "/v1/fault", R"({"method":"start","form":"delay","value":1.5})", 400, "must be a whole number"},
        {"POST", "/v1/journal", R"({"limit":-1})", 400, "'limit' cannot be negative"},
        {"POST", "/v1/count", R"({"filter":"start"})", 400, "'filter' must be an object"},
        {"POST", "/v1/wait", R"({"within_ms":600001})", 400, "'within_ms' is at most 600000"},
        {"POST", "/v1/restore", R"({"snapshot":[]})", 400, "snapshot must be an object"},
        {"POST", "/v1/play", R"({"scenario":{"steps":[{"dance":1}]}})", 400, "line 1: "},
        {"POST", "/v1/play", R"({"scenario":"/no/such/file"})", 400, "cannot read /no/such/file"},
        {"GET", "/v1/journal?since=x", "", 400, "'since' must be a whole number"},
        {"GET", "/v1/count?filter={", "", 400, "not JSON"},
        {"GET", "/v1/state?colour=red", "", 400, "there is no 'colour' here"},
        {"GET", "/v1/stream?since=x", "", 400, "'since' must be a whole number"},
    };
    for (const Wrong &one : wrong) {
        ControlConnection fresh{home};
        const Response response = fresh.ask(one.method, one.target, {}, one.body);
        EXPECT_EQ(response.status, one.status) << one.method << " " << one.target << " " << one.body.substr(0, 80);
        EXPECT_EQ(response.at("ok"), "false") << response.body;
        EXPECT_NE(response.at("error").find(one.reason), std::string::npos) << one.target << ": " << response.body;
        EXPECT_LT(response.body.size(), 1000U) << "what is wrong is not sent back as a whole";
    }
    EXPECT_EQ(connection.get("/v1/state?path=running").status, 200) << "the agent serves on";
}

TEST_F(Control, DoesNotLeaveItsFolderOfPages)
{
    for (const char *target : {"/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2fetc/passwd",
                               "//etc/passwd", "/console.css%00.html", "/v1/../../etc/passwd", "/index.html/../../x"}) {
        ControlConnection connection{home};
        const Response response = connection.get(target);
        EXPECT_TRUE(response.status == 404 || response.status == 400) << target << ": " << response.status;
        EXPECT_EQ(response.body.find("root:"), std::string::npos) << target;
    }
}

TEST_F(Control, GuardsAllAnswersAgainstOtherPages)
{
    ControlConnection connection{home};
    for (const char *target : {"/", "/v1", "/console.css", "/no-such-page", "/v1/quit"}) {
        const Response response = connection.get(target);
        EXPECT_TRUE(response.has_header("X-Content-Type-Options: nosniff")) << target;
        EXPECT_TRUE(response.has_header("Cache-Control: no-store")) << target;
        EXPECT_NE(response.head.find("Content-Security-Policy: default-src 'self';"), std::string::npos) << target;
        EXPECT_NE(response.head.find("frame-ancestors 'none'"), std::string::npos) << target;
        EXPECT_EQ(response.head.find("Access-Control-"), std::string::npos) << target;
    }
    ControlConnection broken{home};
    broken.send("this is no HTTP\r\n\r\n");
    const Response response = broken.receive();
    EXPECT_EQ(response.status, 400);
    EXPECT_TRUE(response.has_header("X-Content-Type-Options: nosniff")) << response.head;
}

TEST_F(Control, ReadsNoBodyThatIsTooLong)
{
    const std::string head = "POST /v1/emit HTTP/1.1\r\nHost: agent\r\n";
    for (const char *length : {"1048577", "99999999999"}) {
        ControlConnection connection{home};
        connection.send(head + "Content-Length: " + length + "\r\n\r\n{");
        const Response response = connection.receive();
        EXPECT_EQ(response.status, 413) << length;
        EXPECT_EQ(response.at("error"), "the body must not be longer than 1 MiB");
        EXPECT_TRUE(connection.is_closed_within(deadline_ms)) << "the rest is not waited for";
    }
    ControlConnection chunked{home};
    chunked.send(head + "Transfer-Encoding: chunked\r\n\r\n");
    EXPECT_EQ(chunked.receive().status, 411);
    EXPECT_TRUE(chunked.is_closed_within(deadline_ms));

    const std::string longest = R"({"event":")" + std::string((1 << 20) - 12, 'x') + R"("})";
    ASSERT_EQ(longest.size(), 1U << 20);
    ControlConnection connection{home};
    EXPECT_EQ(connection.post("emit", longest).status, 400) << "read, and found to be no event";
}

TEST_F(Control, AnswersRequestsThatCameTogetherInTheirOrder)
{
    ControlConnection connection{home};
    const std::string headers = " HTTP/1.1\r\nHost: agent\r\n\r\n";
    connection.send("GET /v1/state?path=version" + headers + "GET /v1/wait?within_ms=50" + headers +
                    "GET /v1/state?path=running" + headers);
    EXPECT_EQ(connection.receive().body, R"({"ok":true,"state":"2.3"})");
    EXPECT_EQ(connection.receive().status, 400) << "no entry within 50 ms";
    EXPECT_EQ(connection.receive().body, R"({"ok":true,"state":false})");
    EXPECT_EQ(connection.get("/v1/count").status, 200) << "the connection stays";
}

TEST_F(Control, ServesOthersWhileARequestIsHalfThereAndThenGivesItUp)
{
    ControlConnection half{home};
    half.send("POST /v1/emit HTTP/1.1\r\nHost: agent\r\nContent-Length: 100\r\n\r\n{\"event\":");
    ControlConnection not_even_a_head{home};
    not_even_a_head.send("POST /v1/em");
    EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, 200);
    EXPECT_TRUE(half.is_closed_within(2 * deadline_ms));
    EXPECT_TRUE(not_even_a_head.is_closed_within(2 * deadline_ms));
    EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, 200);
}

TEST_F(Control, TurnsAwayMoreThan64Connections)
{
    std::vector<ControlConnection> connections;
    for (int i = 0; i < 64; ++i) {
        connections.emplace_back(home);
        ASSERT_EQ(connections.back().get("/v1/count").status, 200) << i;
    }
    ControlConnection one_too_many{home};
    const Response response = one_too_many.get("/v1/count");
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.at("error"), "there are 64 connections already; close one");
    EXPECT_TRUE(one_too_many.is_closed_within(deadline_ms));

    connections.pop_back();
    const auto is_served = [this] { return ControlConnection{home}.get("/v1/count").status == 200; };
    bool served = false;
    for (int i = 0; i < 1000 && !(served = is_served()); ++i)
        ::poll(nullptr, 0, 10);
    EXPECT_TRUE(served) << "when one has gone there is room again";
    EXPECT_EQ(connections.front().get("/v1/count").status, 200);
}

TEST_F(Control, LetsOnlyItsOwnerIn)
{
    for (const char *name : {"control", "control.json"}) {
        struct stat there = {};
        ASSERT_EQ(::stat((home.runtime() / name).c_str(), &there), 0) << name;
        EXPECT_EQ(there.st_mode & 0777, 0600U) << name;
        EXPECT_EQ(there.st_uid, ::geteuid()) << name;
    }
    const Document file = control_file(home);
    EXPECT_EQ(file.at("pid"), std::to_string(agent.pid()));
    EXPECT_EQ(file.at("version"), "2.3");
    EXPECT_EQ(file.at("socket"), (home.runtime() / "control").string());
    EXPECT_EQ(file.at("http"), "") << "there is no port that nobody asked for";
}

TEST(ControlSocket, OfAnAgentThatWasKilledIsReplaced)
{
    AgentHome home;
    {
        AgentProcess killed{home};
        killed.signal(SIGKILL);
        killed.wait();
    }
    ASSERT_TRUE(std::filesystem::exists(home.runtime() / "control"));
    EXPECT_FALSE(ControlConnection{home}.is_open());
    AgentProcess next{home};
    EXPECT_EQ(ControlConnection{home}.get("/v1/state?path=running").status, 200);
    EXPECT_EQ(control_file(home).at("pid"), std::to_string(next.pid()));

    EXPECT_EQ(run_agent({}).status, 3) << "one too many";
    EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, 200) << "which has left the socket alone";
}

TEST(ControlSocket, DoesNotReplaceWhatIsNoSocket)
{
    AgentHome home;
    std::filesystem::create_directories(home.runtime());
    std::filesystem::permissions(home.runtime(), std::filesystem::perms::owner_all);
    std::ofstream{home.runtime() / "control"} << "precious";
    const auto finished = run_agent({});
    EXPECT_EQ(finished.status, 1);
    EXPECT_NE(finished.err.find("there is something else; remove it"), std::string::npos) << finished.err;
    EXPECT_TRUE(std::filesystem::exists(home.runtime() / "control"));
}

TEST(ControlPortOfAnAgent, IsToldInTheReadyLine)
{
    AgentHome home;
    Program agent{KORVANE_AGENT_PATH, {"--http", "0"}};
    agent.says("\n");
    const Document told = control_file(home);
    EXPECT_EQ(agent.out(), "korvane-agent 2.3 ready, process " + std::to_string(agent.pid()) +
                               ", console http://127.0.0.1:" + told.at("http.port") + "/#" + told.at("http.token") +
                               "\n");
}

TEST_F(ControlPort, IsToldInTheFileAndTheJournal)
{
    EXPECT_GT(port, 0);
    EXPECT_EQ(control_file(home).at("http.token"), token);
    EXPECT_EQ(home.journalled({R"("agent":"ready")", R"("http":)" + std::to_string(port)}), 1);
    EXPECT_EQ(home.journalled({token}), 0);
}

TEST_F(ControlPort, ShowsThePageToAnybodyAndTheRestToWhoeverKnowsTheToken)
{
    EXPECT_EQ(connect().get("/").status, 200);
    EXPECT_TRUE(connect().get("/").has_header("Content-Type: text/html; charset=utf-8"));
    EXPECT_TRUE(connect().get("/console.js").has_header("Content-Type: text/javascript; charset=utf-8"));
    EXPECT_EQ(connect_with_token().get("/v1/count").status, 200);
    for (const char *target : {"/v1", "/v1/count", "/v1/quit", "/v1/no-such-command", "/v1/", "/v1/stream"})
        EXPECT_EQ(connect().get(target).status, 401) << target;
    for (const std::string wrong :
         {"Bearer ", "Bearer wrong-token-for-tests", "Bearer a-token-for-test", "bearer?", "Basic YTpi"}) {
        ControlConnection connection = connect();
        EXPECT_EQ(connection.ask("GET", "/v1/count", "Authorization: " + wrong + "\r\n").status, 401) << wrong;
    }
    EXPECT_EQ(connect().get("/v1/count?token=" + token).status, 401) << "only a WebSocket may say it so";
    EXPECT_EQ(connect().upgrade("/v1/stream?token=" + token).status, 101);
    EXPECT_EQ(connect().upgrade("/v1/stream?token=wrong").status, 401);
    EXPECT_EQ(connect().upgrade("/v1/stream").status, 401);
}

TEST_F(ControlPort, AnswersToItsOwnNamesOnly)
{
    for (const std::string name :
         {"evil.example", "127.0.0.1", "localhost", "127.0.0.1:1", "", "evil.example:80", "[::1]"}) {
        ControlConnection connection = connect_with_token();
        connection.host = name;
        const Response response = connection.get("/v1/count");
        EXPECT_TRUE(response.status == 421 || (name.empty() && response.status == 400)) << name << response.status;
        EXPECT_EQ(connection.get("/v1/count").status, 0) << "it is closed";
    }
    ControlConnection connection = connect_with_token();
    connection.host = "localhost:" + std::to_string(port);
    EXPECT_EQ(connection.get("/v1/count").status, 200);
}

TEST_F(ControlPort, CannotBeSteeredByAForeignPage)
{
    for (const std::string origin :
         {"http://evil.example", "null", "https://127.0.0.1", "http://127.0.0.1:1", "http://localhost"}) {
        const std::string header = "Origin: " + origin + "\r\n";
        EXPECT_EQ(connect_with_token().ask("POST", "/v1/clear", header, "{}").status, 403) << origin;
        EXPECT_EQ(connect_with_token().upgrade("/v1/stream", header).status, 403) << origin;
        EXPECT_EQ(connect_with_token().ask("GET", "/", header).status, 403) << origin;
        const Response preflight =
            connect().ask("OPTIONS", "/v1/clear", header + "Access-Control-Request-Method: POST\r\n");
        EXPECT_EQ(preflight.status, 403);
        EXPECT_EQ(preflight.head.find("Access-Control-Allow"), std::string::npos);
    }
    const std::string own = "Origin: http://127.0.0.1:" + std::to_string(port) + "\r\n";
    EXPECT_EQ(connect_with_token().ask("POST", "/v1/clear", own, "{}").status, 200);
    EXPECT_EQ(connect_with_token().upgrade("/v1/stream", own).status, 101);
}

TEST_F(ControlPort, ThatIsInUseIsSaid)
{
    AgentHome another;
    const auto finished = run_agent({"--http", std::to_string(port)});
    EXPECT_EQ(finished.status, 1);
    EXPECT_NE(finished.err.find("choose another one with --http"), std::string::npos) << finished.err;
}

TEST(ControlOptions, AreChecked)
{
    for (const std::vector<std::string> &wrong :
         std::vector<std::vector<std::string>>{{"--http", "65536"},
                                               {"--http", "-1"},
                                               {"--http", "web"},
                                               {"--http-token", "short"},
                                               {"--http-token", "with space"}}) {
        const auto finished = run_agent(wrong);
        EXPECT_EQ(finished.status, 2) << wrong.back();
        EXPECT_NE(finished.err.find(wrong.front()), std::string::npos) << finished.err;
    }
}

TEST(ControlOptions, TakeTheTokenFromTheEnvironment)
{
    AgentHome home;
    ::setenv("KORVANE_HTTP_TOKEN", "with space in it", 1);
    const auto finished = run_agent({});
    EXPECT_EQ(finished.status, 2);
    EXPECT_NE(finished.err.find("KORVANE_HTTP_TOKEN wants"), std::string::npos) << finished.err;
    ::setenv("KORVANE_HTTP_TOKEN", "a-token-that-is-not-shown", 1);
    AgentProcess agent{home, {"--http", "0"}};
    ::unsetenv("KORVANE_HTTP_TOKEN");
    EXPECT_EQ(control_file(home).at("http.token"), "a-token-that-is-not-shown");
}

TEST(ControlTokens, AreNeverTheSame)
{
    AgentHome home;
    std::string last;
    for (int i = 0; i < 2; ++i) {
        AgentProcess agent{home, {"--http", "0"}};
        const std::string token = control_file(home).at("http.token");
        EXPECT_EQ(token.size(), 64U);
        EXPECT_NE(token, last);
        last = token;
    }
}

} // namespace
