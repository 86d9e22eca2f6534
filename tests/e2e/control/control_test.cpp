// SPDX-License-Identifier: Apache-2.0
// The control API over HTTP: its responses, and its protection against malformed and hostile requests.
#include "control_port.hpp"
#include "support/program.hpp"
#include "testing/support/wait.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

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

TEST_F(Control, ListsItsCommands)
{
    const Response response = ControlConnection{home}.get("/v1");
    EXPECT_EQ(response.status, http::ok);
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
    EXPECT_EQ(connection.request("POST", "/v1/state").status, http::ok) << "without a body";
    EXPECT_EQ(connection.post("quit").body, R"({"ok":true})");
    EXPECT_EQ(agent.wait(), agent_exit::stopped);
    EXPECT_FALSE(std::filesystem::exists(home.runtime() / "control"));
    EXPECT_FALSE(std::filesystem::exists(home.runtime() / "control.json"));
}

TEST_F(Control, ReportsWhatIsWrongWithARequest)
{
    ControlConnection connection{home};
    struct Refusal {
        const char *method;
        const char *target;
        std::string body;
        int status;
        const char *reason;
    };
    const Refusal refusals[] = {
        // One row per line.
        // clang-format off
        {.method = "POST", .target = "/v1/no-such-command", .body = "{}", .status = http::not_found, .reason = "there is no command 'no-such-command'"},
        {.method = "GET", .target = "/v1/no-such-command", .body = "", .status = http::not_found, .reason = "there is no command 'no-such-command'"},
        {.method = "POST", .target = "/v1/state/more", .body = "{}", .status = http::not_found, .reason = "there is no command 'state/more'"},
        {.method = "GET", .target = "/no-such-page", .body = "", .status = http::not_found, .reason = "not found"},
        {.method = "GET", .target = "/v2", .body = "", .status = http::not_found, .reason = "not found"},
        {.method = "GET", .target = "/v1/stream/more", .body = "", .status = http::not_found, .reason = "there is no command 'stream/more'"},
        {.method = "GET", .target = "/v1/quit", .body = "", .status = http::method_not_allowed, .reason = "use POST"},
        {.method = "PUT", .target = "/v1/state", .body = "{}", .status = http::method_not_allowed, .reason = "use GET, POST"},
        {.method = "DELETE", .target = "/v1", .body = "", .status = http::method_not_allowed, .reason = "use GET"},
        {.method = "POST", .target = "/", .body = "{}", .status = http::method_not_allowed, .reason = "use GET"},
        {.method = "GET", .target = "/v1/stream", .body = "", .status = http::upgrade_required, .reason = "connect with a WebSocket"},
        {.method = "POST", .target = "/v1/emit", .body = "{", .status = http::bad_request, .reason = "not JSON"},
        {.method = "POST", .target = "/v1/emit", .body = "hello", .status = http::bad_request, .reason = "not JSON"},
        {.method = "POST", .target = "/v1/emit", .body = "{} {}", .status = http::bad_request, .reason = "not JSON"},
        {.method = "POST", .target = "/v1/emit", .body = std::string{"{}\0{}", 5}, .status = http::bad_request, .reason = "not JSON"},
        {.method = "POST", .target = "/v1/emit", .body = std::string(100'000, '['), .status = http::bad_request, .reason = "not JSON"},
        {.method = "POST", .target = "/v1/emit", .body = "[]", .status = http::bad_request, .reason = "the arguments must be a JSON object"},
        {.method = "POST", .target = "/v1/emit", .body = "7", .status = http::bad_request, .reason = "the arguments must be a JSON object"},
        {.method = "POST", .target = "/v1/emit", .body = "{}", .status = http::bad_request, .reason = "'event' is missing"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":7})", .status = http::bad_request, .reason = "'event' must be a text, not a number"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":["a"]})", .status = http::bad_request, .reason = "'event' must be a text"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":"a","colour":"red"})", .status = http::bad_request, .reason = "there is no 'colour' here"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":"no_such_cb"})", .status = http::bad_request, .reason = "there is no event 'no_such_cb'"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":"status_changed_cb","values":["1"]})", .status = http::bad_request, .reason = "must be a whole number"},
        {.method = "POST", .target = "/v1/emit", .body = R"({"event":"status_changed_cb","values":{}})", .status = http::bad_request, .reason = "status_changed_cb carries [status]"},
        {.method = "POST", .target = "/v1/fault", .body = R"({"method":"start","form":"delay","value":1e99})", .status = http::bad_request, .reason = "must be a whole number"},
        {.method = "POST", .target = "/v1/fault", .body = R"({"method":"start","form":"delay","value":1.5})", .status = http::bad_request, .reason = "must be a whole number"},
        {.method = "POST", .target = "/v1/journal", .body = R"({"limit":-1})", .status = http::bad_request, .reason = "'limit' cannot be negative"},
        {.method = "POST", .target = "/v1/count", .body = R"({"filter":"start"})", .status = http::bad_request, .reason = "'filter' must be an object"},
        {.method = "POST", .target = "/v1/wait", .body = R"({"within_ms":600001})", .status = http::bad_request, .reason = "'within_ms' is at most 600000"},
        {.method = "POST", .target = "/v1/restore", .body = R"({"snapshot":[]})", .status = http::bad_request, .reason = "snapshot must be an object"},
        {.method = "POST", .target = "/v1/play", .body = R"({"scenario":{"steps":[{"dance":1}]}})", .status = http::bad_request, .reason = "line 1: "},
        {.method = "POST", .target = "/v1/play", .body = R"({"scenario":"/no/such/file"})", .status = http::bad_request, .reason = "cannot read /no/such/file"},
        {.method = "GET", .target = "/v1/journal?since=x", .body = "", .status = http::bad_request, .reason = "'since' must be a whole number"},
        {.method = "GET", .target = "/v1/count?filter={", .body = "", .status = http::bad_request, .reason = "not JSON"},
        {.method = "GET", .target = "/v1/state?colour=red", .body = "", .status = http::bad_request, .reason = "there is no 'colour' here"},
        {.method = "GET", .target = "/v1/stream?since=x", .body = "", .status = http::bad_request, .reason = "'since' must be a whole number"},
        // clang-format on
    };
    for (const Refusal &one : refusals) {
        ControlConnection fresh{home};
        const Response response = fresh.request(one.method, one.target, {}, one.body);
        EXPECT_EQ(response.status, one.status) << one.method << " " << one.target << " " << one.body.substr(0, 80);
        EXPECT_EQ(response.at("ok"), "false") << response.body;
        EXPECT_NE(response.at("error").find(one.reason), std::string::npos) << one.target << ": " << response.body;
        EXPECT_LT(response.body.size(), 1000U) << "the response does not repeat a long request";
    }
    EXPECT_EQ(connection.get("/v1/state?path=running").status, http::ok) << "the agent still works";
}

TEST_F(Control, ServesOnlyTheFilesOfTheConsole)
{
    for (const char *target : {"/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/..%2f..%2fetc/passwd",
                               "//etc/passwd", "/console.css%00.html", "/v1/../../etc/passwd", "/index.html/../../x"}) {
        ControlConnection connection{home};
        const Response response = connection.get(target);
        EXPECT_TRUE(response.status == http::not_found || response.status == http::bad_request)
            << target << ": " << response.status;
        EXPECT_EQ(response.body.find("root:"), std::string::npos) << target;
    }
}

TEST_F(Control, ProtectsAllResponsesFromOtherPages)
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
    EXPECT_EQ(response.status, http::bad_request);
    EXPECT_TRUE(response.has_header("X-Content-Type-Options: nosniff")) << response.head;
}

TEST_F(Control, RefusesABodyThatIsTooLong)
{
    const std::string head = "POST /v1/emit HTTP/1.1\r\nHost: agent\r\n";
    for (const char *length : {"1048577", "99999999999"}) {
        ControlConnection connection{home};
        connection.send(head + "Content-Length: " + length + "\r\n\r\n{");
        const Response response = connection.receive();
        EXPECT_EQ(response.status, http::content_too_large) << length;
        EXPECT_EQ(response.at("error"), "the body must not be longer than 1 MiB");
        EXPECT_TRUE(connection.wait_for_close()) << "without waiting for the rest of the body";
    }
    ControlConnection chunked{home};
    chunked.send(head + "Transfer-Encoding: chunked\r\n\r\n");
    EXPECT_EQ(chunked.receive().status, http::length_required);
    EXPECT_TRUE(chunked.wait_for_close());

    const std::string longest = R"({"event":")" + std::string((1 << 20) - 12, 'x') + R"("})";
    ASSERT_EQ(longest.size(), 1U << 20);
    ControlConnection connection{home};
    EXPECT_EQ(connection.post("emit", longest).status, http::bad_request) << "the body is read, but names no event";
}

TEST_F(Control, AnswersPipelinedRequestsInOrder)
{
    ControlConnection connection{home};
    const std::string headers = " HTTP/1.1\r\nHost: agent\r\n\r\n";
    connection.send("GET /v1/state?path=version" + headers + "GET /v1/wait?within_ms=50" + headers +
                    "GET /v1/state?path=running" + headers);
    EXPECT_EQ(connection.receive().body, R"({"ok":true,"state":"2.3"})");
    EXPECT_EQ(connection.receive().status, http::bad_request) << "no entry within 50 ms";
    EXPECT_EQ(connection.receive().body, R"({"ok":true,"state":false})");
    EXPECT_EQ(connection.get("/v1/count").status, http::ok) << "the connection still works";
}

TEST_F(Control, ServesOthersWhileARequestIsIncompleteAndTimesItOut)
{
    ControlConnection stream{home};
    ASSERT_EQ(stream.upgrade("/v1/stream").status, http::switching_protocols);
    ControlConnection half{home};
    half.send("POST /v1/emit HTTP/1.1\r\nHost: agent\r\nContent-Length: 100\r\n\r\n{\"event\":");
    ControlConnection no_headers{home};
    no_headers.send("POST /v1/em");
    EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, http::ok);
    EXPECT_TRUE(half.wait_for_close());
    EXPECT_TRUE(no_headers.wait_for_close());
    EXPECT_EQ(ControlConnection{home}.post("clock", R"({"what":"run"})").status, http::ok);
    EXPECT_EQ(Document{stream.next_frame().payload}.at("command"), "clock") << "a stream may be idle for longer";
}

TEST_F(Control, RefusesMoreThan64Connections)
{
    std::vector<ControlConnection> connections;
    for (int i = 0; i < 64; ++i) {
        connections.emplace_back(home);
        ASSERT_EQ(connections.back().get("/v1/count").status, http::ok) << i;
    }
    ControlConnection last{home};
    const Response response = last.get("/v1/count");
    EXPECT_EQ(response.status, http::service_unavailable);
    EXPECT_EQ(response.at("error"), "there are 64 connections already; close one");
    EXPECT_TRUE(last.wait_for_close());

    connections.pop_back();
    const auto is_served = [this] { return ControlConnection{home}.get("/v1/count").status == http::ok; };
    EXPECT_TRUE(wait_until(is_served)) << "after one connection was closed";
    EXPECT_EQ(connections.front().get("/v1/count").status, http::ok);
}

TEST_F(Control, IsAccessibleOnlyToItsOwner)
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
    EXPECT_EQ(file.at("http"), "") << "without --http there is no TCP port";
}

TEST(ControlSocket, OfAKilledAgentIsReplaced)
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
    EXPECT_EQ(ControlConnection{home}.get("/v1/state?path=running").status, http::ok);
    EXPECT_EQ(control_file(home).at("pid"), std::to_string(next.pid()));

    EXPECT_EQ(run_agent({}).exit_status, agent_exit::port_in_use) << "a second agent";
    EXPECT_EQ(ControlConnection{home}.get("/v1/count").status, http::ok)
        << "the second agent does not remove the socket";
}

TEST(ControlSocket, DoesNotReplaceARegularFile)
{
    AgentHome home;
    std::filesystem::create_directories(home.runtime());
    std::filesystem::permissions(home.runtime(), std::filesystem::perms::owner_all);
    std::ofstream{home.runtime() / "control"} << "content";
    const auto result = run_agent({});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("a file that is not a socket exists there; remove it"), std::string::npos)
        << result.error_output;
    EXPECT_TRUE(std::filesystem::exists(home.runtime() / "control"));
}

TEST(ControlPortOfAnAgent, IsPartOfTheReadyLine)
{
    AgentHome home;
    Program agent{KORVANE_AGENT_PATH, {"--http", "0"}};
    agent.wait_for_output("\n");
    const Document file = control_file(home);
    EXPECT_EQ(agent.output(), R"({"agent":"ready","version":"2.3","pid":)" + std::to_string(agent.pid()) +
                                  R"(,"console":"http://127.0.0.1:)" + file.at("http.port") + "/#" +
                                  file.at("http.token") + "\"}\n");
}

TEST_F(ControlPort, IsPartOfTheControlFileAndTheJournal)
{
    EXPECT_GT(port, 0);
    EXPECT_EQ(control_file(home).at("http.token"), token);
    EXPECT_EQ(home.count_in_journal({R"("agent":"ready")", R"("http":)" + std::to_string(port)}), 1);
    EXPECT_EQ(home.count_in_journal({token}), 0);
}

TEST_F(ControlPort, RequiresTheTokenExceptForThePage)
{
    EXPECT_EQ(connect().get("/").status, http::ok);
    EXPECT_TRUE(connect().get("/").has_header("Content-Type: text/html; charset=utf-8"));
    EXPECT_TRUE(connect().get("/console.js").has_header("Content-Type: text/javascript; charset=utf-8"));
    EXPECT_EQ(connect_with_token().get("/v1/count").status, http::ok);
    for (const char *target : {"/v1", "/v1/count", "/v1/quit", "/v1/no-such-command", "/v1/", "/v1/stream"})
        EXPECT_EQ(connect().get(target).status, http::unauthorized) << target;
    for (const std::string wrong :
         {"Bearer ", "Bearer wrong-token-for-tests", "Bearer a-token-for-test", "bearer?", "Basic YTpi"}) {
        ControlConnection connection = connect();
        EXPECT_EQ(connection.request("GET", "/v1/count", "Authorization: " + wrong + "\r\n").status, http::unauthorized)
            << wrong;
    }
    EXPECT_EQ(connect().get("/v1/count?token=" + token).status, http::unauthorized)
        << "only a WebSocket may have the token in its query";
    EXPECT_EQ(connect().upgrade("/v1/stream?token=" + token).status, http::switching_protocols);
    EXPECT_EQ(connect().upgrade("/v1/stream?token=wrong").status, http::unauthorized);
    EXPECT_EQ(connect().upgrade("/v1/stream").status, http::unauthorized);
}

TEST_F(ControlPort, AcceptsOnlyItsOwnHostNames)
{
    for (const std::string name :
         {"evil.example", "127.0.0.1", "localhost", "127.0.0.1:1", "", "evil.example:80", "[::1]"}) {
        ControlConnection connection = connect_with_token();
        connection.host = name;
        const Response response = connection.get("/v1/count");
        EXPECT_TRUE(response.status == http::misdirected_request ||
                    (name.empty() && response.status == http::bad_request))
            << name << response.status;
        EXPECT_EQ(connection.get("/v1/count").status, 0) << "the connection is closed";
    }
    ControlConnection connection = connect_with_token();
    connection.host = "localhost:" + std::to_string(port);
    EXPECT_EQ(connection.get("/v1/count").status, http::ok);
}

TEST_F(ControlPort, RefusesRequestsOfOtherPages)
{
    for (const std::string origin :
         {"http://evil.example", "null", "https://127.0.0.1", "http://127.0.0.1:1", "http://localhost"}) {
        const std::string header = "Origin: " + origin + "\r\n";
        EXPECT_EQ(connect_with_token().request("POST", "/v1/clear", header, "{}").status, http::forbidden) << origin;
        EXPECT_EQ(connect_with_token().upgrade("/v1/stream", header).status, http::forbidden) << origin;
        EXPECT_EQ(connect_with_token().request("GET", "/", header).status, http::forbidden) << origin;
        const Response preflight =
            connect().request("OPTIONS", "/v1/clear", header + "Access-Control-Request-Method: POST\r\n");
        EXPECT_EQ(preflight.status, http::forbidden);
        EXPECT_EQ(preflight.head.find("Access-Control-Allow"), std::string::npos);
    }
    const std::string own = "Origin: http://127.0.0.1:" + std::to_string(port) + "\r\n";
    EXPECT_EQ(connect_with_token().request("POST", "/v1/clear", own, "{}").status, http::ok);
    EXPECT_EQ(connect_with_token().upgrade("/v1/stream", own).status, http::switching_protocols);
}

TEST_F(ControlPort, ReportsThatItIsInUse)
{
    AgentHome another;
    const auto result = run_agent({"--http", std::to_string(port)});
    EXPECT_EQ(result.exit_status, agent_exit::failed);
    EXPECT_NE(result.error_output.find("choose another one with --http"), std::string::npos) << result.error_output;
}

TEST(ControlOptions, AreChecked)
{
    for (const std::vector<std::string> &wrong :
         std::vector<std::vector<std::string>>{{"--http", "65536"},
                                               {"--http", "-1"},
                                               {"--http", "web"},
                                               {"--http-token", "short"},
                                               {"--http-token", "with space"}}) {
        const auto result = run_agent(wrong);
        EXPECT_EQ(result.exit_status, agent_exit::wrong_usage) << wrong.back();
        EXPECT_NE(result.error_output.find(wrong.front()), std::string::npos) << result.error_output;
    }
}

TEST(ControlOptions, ReadTheTokenFromTheEnvironment)
{
    AgentHome home;
    ::setenv("KORVANE_HTTP_TOKEN", "with space in it", 1);
    const auto result = run_agent({"--http", "0"});
    EXPECT_EQ(result.exit_status, agent_exit::wrong_usage);
    EXPECT_NE(result.error_output.find("KORVANE_HTTP_TOKEN must be"), std::string::npos) << result.error_output;
    ::setenv("KORVANE_HTTP_TOKEN", "a-token-that-is-not-shown", 1);
    AgentProcess agent{home, {"--http", "0"}};
    ::unsetenv("KORVANE_HTTP_TOKEN");
    EXPECT_EQ(control_file(home).at("http.token"), "a-token-that-is-not-shown");
}

TEST(ControlOptions, IgnoreTheTokenOfTheEnvironmentWithoutThePort)
{
    AgentHome home;
    for (const char *token : {"", "with space in it"}) {
        ::setenv("KORVANE_HTTP_TOKEN", token, 1);
        for (const char *option : {"--help", "--version", "--install"})
            EXPECT_EQ(run_agent({option}).exit_status, agent_exit::stopped) << option << " '" << token << "'";
    }
    ::setenv("KORVANE_HTTP_TOKEN", "", 1);
    AgentProcess agent{home, {"--http", "0"}};
    ::unsetenv("KORVANE_HTTP_TOKEN");
    EXPECT_GT(control_file(home).at("http.token").size(), 8U) << "a random one";
}

TEST(ControlTokens, AreDifferentEachTime)
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
