// SPDX-License-Identifier: Apache-2.0
// Commands of the control API: the journal and waiting for its entries, snapshots of the state, scenarios.
#include "control_client.hpp"
#include "e2e/fixtures/wire_client.hpp"

#include <gtest/gtest.h>

#include <poll.h>

using namespace kv::test;

namespace {

class Commands : public testing::Test {
protected:
    Response post(const std::string &command, const std::string &body = "{}", const char *file = __builtin_FILE(),
                  int line = __builtin_LINE())
    {
        Response response = api.post(command, body);
        if (response.status != http::ok)
            ADD_FAILURE_AT(file, line) << command << " " << body << ": " << response.status << " " << response.body;
        return response;
    }
    std::string state(const std::string &path) { return post("state", R"({"path":")" + path + R"("})").at("state"); }
    std::string snapshot() { return post("snapshot").at("snapshot"); }
    void restore(const std::string &snapshot) { post("restore", R"({"snapshot":)" + snapshot + "}"); }
    bool becomes(const std::string &path, const std::string &value)
    {
        return run_main_loop_until([&] { return state(path) == value; });
    }

    AgentHome home;
    AgentProcess agent{home};
    ControlConnection api{home};
};

// ---- the journal -----------------------------------------------------------------------------------------------------

TEST_F(Commands, ListTheJournalFromAnEntryAndByPages)
{
    for (int i = 0; i < 4; ++i)
        post("clock", R"({"what":"run"})");
    const Response all = post("journal");
    EXPECT_EQ(all.at("entries.0.seq"), "1");
    EXPECT_EQ(all.at("entries.0.agent"), "ready");
    EXPECT_EQ(all.at("entries.4.seq"), "5");
    EXPECT_EQ(all.at("next"), "6");
    const Response page = post("journal", R"({"since":2,"limit":2})");
    EXPECT_EQ(page.at("entries.0.seq"), "2");
    EXPECT_EQ(page.at("entries.2"), "");
    EXPECT_EQ(page.at("next"), "4");
    EXPECT_EQ(post("journal", R"({"since":4,"limit":2})").at("next"), "6");
    EXPECT_EQ(post("journal", R"({"since":1000})").body, R"({"ok":true,"entries":[],"next":6})");
    EXPECT_EQ(post("journal", R"({"limit":0})").at("entries"), "[]");
    EXPECT_EQ(post("journal", R"({"filter":{"agent":"ready"}})").at("next"), "6");
    EXPECT_EQ(post("journal", R"({"filter":{"agent":"ready"}})").at("entries.1"), "");
}

TEST_F(Commands, CountAndClearEntries)
{
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(4));
    application.exchange(int32(66) + int32(7));
    EXPECT_EQ(post("count").at("count"), "4") << "ready, connected, two requests";
    EXPECT_EQ(post("count", R"({"filter":{"method":"send_presence","arguments":{"presence":7}}})").at("count"), "1");
    EXPECT_EQ(post("count", R"({"filter":{"method":"send_presence","arguments":{"presence":8}}})").at("count"), "0");
    EXPECT_EQ(api.get("/v1/count?filter=%7B%22method%22%3A%22stop%22%7D").at("count"), "1");
    post("clear");
    EXPECT_EQ(post("count").at("count"), "1") << "the entry of the command itself";
    EXPECT_EQ(post("journal").at("entries.0.seq"), "5");
}

TEST_F(Commands, KeepTheLastTenThousandEntries)
{
    Client application;
    ASSERT_TRUE(application.connect());
    for (int i = 0; i < 10'100; i += 100)
        ASSERT_TRUE(application.exchange_all(int32(4), 100, int32(0) + int32(0)));
    EXPECT_EQ(post("count").at("count"), "10000");
    const Response oldest = post("journal", R"({"limit":1})");
    EXPECT_EQ(oldest.at("entries.0.seq"), "103") << "ready, connected and 10,100 requests, without the first 102";
}

TEST_F(Commands, WaitForAnEntryWhileTheAgentServes)
{
    ControlConnection waiting{home};
    const std::string body = R"({"filter":{"method":"send_presence"},"within_ms":10000})";
    waiting.send("POST /v1/wait HTTP/1.1\r\nHost: x\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
                 body);
    Client application;
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(application.exchange(int32(4)), int32(0) + int32(0));
    EXPECT_EQ(application.exchange(int32(66) + int32(3)), int32(0) + int32(0));
    const Response response = waiting.receive();
    EXPECT_EQ(response.status, http::ok);
    EXPECT_EQ(response.at("entry.method"), "send_presence");
    EXPECT_EQ(response.at("entry.arguments.presence"), "3");
    EXPECT_EQ(waiting.get("/v1/count").status, http::ok) << "the connection still works";
}

TEST_F(Commands, WaitForEarlierEntriesOnlyOnRequest)
{
    EXPECT_EQ(api.post("wait", R"({"filter":{"agent":"ready"},"within_ms":20})").status, http::bad_request);
    EXPECT_EQ(post("wait", R"({"filter":{"agent":"ready"},"since":0})").at("entry.seq"), "1");
    EXPECT_EQ(api.post("wait", R"({"filter":{"agent":"ready"},"since":2,"within_ms":20})").status, http::bad_request);
}

TEST_F(Commands, ReportTheNearestEntryOnTimeout)
{
    EXPECT_EQ(api.post("wait", R"({"within_ms":10})").at("error"), "not within 10 ms; no entry was written");
    EXPECT_EQ(api.post("wait", R"({"filter":{"agent":"ready","version":"1.0"},"since":0,"within_ms":10})").at("error"),
              R"(not within 10 ms; the nearest was entry 1: version is "2.3", not "1.0")");
}

TEST_F(Commands, EndAWaitWhenItsClientDisconnects)
{
    const std::string request = "GET /v1/wait?within_ms=600000 HTTP/1.1\r\nHost: x\r\n\r\n";
    {
        std::vector<ControlConnection> waiting;
        for (int i = 0; i < 63; ++i) { // one more is open already
            waiting.emplace_back(home);
            ASSERT_TRUE(waiting.back().send(request));
        }
        ASSERT_TRUE(run_main_loop_until(
            [&] { return ControlConnection{home}.get("/v1/count").status == http::service_unavailable; }));
    }
    EXPECT_TRUE(run_main_loop_until([&] { return ControlConnection{home}.get("/v1/count").status == http::ok; }));
    ControlConnection left{home};
    left.send(request);
    EXPECT_EQ(agent.reply_to("quit"), R"({"ok":true})");
    EXPECT_EQ(agent.wait(), 0) << "a pending wait does not prevent the end";
}

TEST_F(Commands, WaitAsLinesOfText)
{
    EXPECT_NE(agent.reply_to(R"(wait {"agent":"ready"} 1000 0)").find(R"("entry":{"seq":1,)"), std::string::npos);
    EXPECT_EQ(agent.reply_to("wait - 10"), "not within 10 ms; no entry was written");
}

TEST_F(Commands, AreJournalledIfTheyChangeSomething)
{
    post("state");
    api.post("emit", R"({"event":"no_such_cb"})");
    agent.reply_to("clock run");
    const Response response = post("journal", R"({"since":2})");
    EXPECT_EQ(response.at("entries.0.command"), "emit");
    EXPECT_EQ(response.at("entries.0.ok"), "false");
    EXPECT_EQ(response.at("entries.0.with"), "");
    EXPECT_EQ(response.at("entries.1.command"), "clock");
    EXPECT_EQ(response.at("entries.1.with"), R"({"what":"run"})");
    EXPECT_EQ(response.at("entries.1.ok"), "true");
    EXPECT_EQ(response.at("next"), "4");
    post("emit", R"({"event":"pin_generate_cb","values":["s3cret",8]})");
    EXPECT_EQ(post("journal", R"({"since":4})").at("entries.0.with"), R"({"event":"pin_generate_cb"})");
    EXPECT_EQ(post("journal", R"({"since":1})").body.find("s3cret"), std::string::npos);
}

TEST_F(Commands, AreJournalledAfterTheirEventsWithTheTimeAtWhichTheyBegan)
{
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(6) + int32(1) + int32(5) + Bytes(1, '\0')); // set_status_changed_cb
    const Response command = post("emit", R"({"event":"status_changed_cb","values":[1]})");
    EXPECT_EQ(command.at("peers"), "1");
    const Response entries = post("journal", R"({"since":4})");
    EXPECT_EQ(entries.at("entries.0.event"), "status_changed_cb");
    EXPECT_EQ(entries.at("entries.1.command"), "emit");
    // A time that ends with 0 is printed with an exponent.
    EXPECT_LE(std::stod(entries.at("entries.1.time_us")), std::stod(entries.at("entries.0.time_us")));
}

TEST_F(Commands, ExpectNoReplyToAnEventWithoutReceivers)
{
    EXPECT_EQ(api.post("emit", R"({"event":"scan_ap_cb","values":[7]})").at("peers"), "0");
    EXPECT_EQ(state("setup.scan"), "null");
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(23) + int32(9) + int32(1) + Bytes(1, '\0')); // set_scan_ap_cb
    EXPECT_EQ(api.post("emit", R"({"event":"scan_ap_cb","values":[7]})").at("peers"), "1");
    EXPECT_EQ(state("setup.scan"), "7");
    EXPECT_EQ(application.exchange(int32(25) + int32(8) + int32(0)), int32(0) + int32(-1))
        << "send_ap_list for another request";
    EXPECT_EQ(application.exchange(int32(25) + int32(7) + int32(0)), int32(0) + int32(0));
    EXPECT_EQ(state("setup.scan"), "null");
}

// ---- snapshots -------------------------------------------------------------------------------------------------------

TEST_F(Commands, TakeAndRestoreASnapshot)
{
    const std::string fresh = snapshot();
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(3) + int32(0) + int32(0) + int32(0));    // start
    application.exchange(int32(41) + int32(3) + int32(4) + "lamp");     // register_sub_device
    application.exchange(int32(33) + int32(4) + "1234");                // set_preconfigured_pin
    application.exchange(int32(77) + int32(3) + "\xff\xfeZ");           // set_device_name, invalid UTF-8
    application.exchange(int32(68) + int32(2) + int32(30) + int32(60)); // set_keepalive_intervals
    application.exchange(int32(69) + int32(1) + int32(1));              // select_keepalive_intervals
    application.exchange(int32(40) + int32(7) + int32(3) + "E12");      // set_last_status_info
    application.exchange(int32(55) + int32(2) + "{}");                  // set_sso_list
    const std::string used = snapshot();
    const Document shown{used};
    EXPECT_EQ(shown.at("running"), "true");
    EXPECT_EQ(shown.at("sub_devices.3"), R"({"device_id":"lamp","presence":0})");
    EXPECT_EQ(shown.at("setup.preconfigured_pin"), "1234") << "a snapshot contains secrets, because it can be restored";
    EXPECT_EQ(shown.at("cloud.device_names.0"), R"({"base64":"//5a"})");
    EXPECT_EQ(shown.at("cloud.keep_alive.selected"), "[1]");

    post("reset");
    EXPECT_EQ(snapshot(), fresh);
    restore(used);
    EXPECT_EQ(snapshot(), used);
    EXPECT_EQ(state("sub_devices.3.device_id"), "lamp");
    EXPECT_EQ(state("last_requests.set_preconfigured_pin.pin"), "<secret, 4 bytes>");
    EXPECT_EQ(application.exchange(int32(42) + int32(3)), int32(0) + int32(0)) << "the agent uses the restored state";
    EXPECT_EQ(state("sub_devices"), "{}");
    restore("{}");
    EXPECT_EQ(snapshot(), fresh) << "missing members have their initial values";
}

TEST_F(Commands, RefuseInvalidSnapshotsAndChangeNothing)
{
    restore(R"({"running":true})");
    const std::string before = snapshot();
    struct Refusal {
        const char *snapshot;
        const char *reason;
    };
    const Refusal refusals[] = {
        {.snapshot = R"({"running":1})", .reason = "snapshot.running must be true or false, not a number"},
        {.snapshot = R"({"runing":true})", .reason = "there is no 'runing' here"},
        {.snapshot = R"({"setup":[]})", .reason = "snapshot.setup must be an object"},
        {.snapshot = R"({"setup":{"stage":6}})", .reason = "snapshot.setup.stage must be 0 to 5, not 6"},
        {.snapshot = R"({"setup":{"stage":"done"}})", .reason = "snapshot.setup.stage must be 0 to 5"},
        {.snapshot = R"({"setup":{"networks":[{"ssid":5}]}})",
         .reason = "snapshot.setup.networks.0.ssid must be a text"},
        {.snapshot = R"({"setup":{"networks":[{"ssid":{"base64":5}}]}})",
         .reason = "snapshot.setup.networks.0.ssid must be a text"},
        {.snapshot = R"({"setup":{"pin":{"tries_left":4}}})", .reason = "tries_left must be 0 to 3"},
        {.snapshot = R"({"setup":{"pin":{"kind":3}}})", .reason = "snapshot.setup.pin.kind must be 0 to 2"},
        {.snapshot = R"({"setup":{"last_request":2147483647}})", .reason = "last_request must be 0 to 999999999"},
        {.snapshot = R"({"cloud":{"keep_alive":{"intervals":[10],"selected":[1]}}})",
         .reason = "must be indexes of its intervals"},
        {.snapshot = R"({"cloud":{"keep_alive":{"selected":[0]}}})", .reason = "must be indexes of its intervals"},
        {.snapshot = R"({"cloud":{"next_sign_up":{"after_ms":-1}}})", .reason = "must be 0 to 2147483647, not -1"},
        {.snapshot = R"({"signed_in":true})", .reason = "a device that is signed in is signed up"},
        {.snapshot = R"({"last_requests":{"5":""}})", .reason = "must be ids of methods"},
        {.snapshot = R"({"last_requests":{"x":""}})", .reason = "must be a whole number"},
        {.snapshot = R"({"nicks":{"0":{}}})", .reason = "snapshot.nicks.0 must be a text"},
    };
    for (const auto &[text, reason] : refusals) {
        const Response response = api.post("restore", R"({"snapshot":)" + std::string{text} + "}");
        EXPECT_EQ(response.status, http::bad_request) << text;
        EXPECT_NE(response.at("error").find(reason), std::string::npos) << text << ": " << response.body;
        EXPECT_EQ(snapshot(), before) << text;
    }
    std::string many = R"({"nicks":{"0":"")";
    for (int i = 1; i <= 1024; ++i)
        many += ",\"" + std::to_string(i) + "\":\"\"";
    EXPECT_EQ(api.post("restore", R"({"snapshot":)" + many + "}}}").status, http::bad_request);
    restore(R"({"last_requests":{"3":"short","77":{"base64":"/////w=="}}})");
    EXPECT_EQ(state("last_requests"), R"({"start":{},"set_device_name":{}})")
        << "a malformed request shows its readable arguments";
}

TEST_F(Commands, RestoreSnapshotsThatCallTheLastRequestsTold)
{
    restore(R"({"told":{"3":"short"},"cloud":{"told":{"send_presence":[{"presence":1}]}}})");
    EXPECT_EQ(state("last_requests"), R"({"start":{}})");
    EXPECT_EQ(state("cloud.last_requests"), R"({"send_presence":[{"presence":1}]})");
    EXPECT_EQ(snapshot().find("told"), std::string::npos);
}

TEST_F(Commands, ResetTheDeviceButNotItsApplications)
{
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(6) + int32(1) + int32(5) + Bytes(1, '\0')); // set_status_changed_cb
    post("personality", R"({"name":"owned-and-signed-in"})");
    post("fault", R"({"method":"all","form":"silent"})");
    post("clock", R"({"what":"stand"})");
    post("reset");
    EXPECT_EQ(state("signed_in"), "false");
    EXPECT_EQ(state("cloud.session"), "null");
    EXPECT_EQ(state("faults"), "{}");
    EXPECT_EQ(state("peers.0.delegates"), R"(["status_changed_cb"])");
    EXPECT_EQ(api.post("clock", R"({"what":"advance","ms":1})").status, http::bad_request) << "the clock runs again";
    EXPECT_EQ(post("emit", R"({"event":"status_changed_cb"})").at("peers"), "1");
}

TEST_F(Commands, ApplyPersonalities)
{
    post("personality", R"({"name":"owned-and-signed-in"})");
    for (const char *member : {"running", "set_up", "owned", "signed_up", "signed_in"})
        EXPECT_EQ(state(member), "true") << member;
    EXPECT_EQ(state("setup.stage"), "done");
    EXPECT_EQ(state("thing_status"), "2");
    EXPECT_NE(state("cloud.session.remote"), "");
    EXPECT_EQ(state("cloud.credentials.access_token"), "<secret, 19 bytes>");
    post("cloud", R"({"step":"drop-session"})");
    post("cloud", R"({"step":"restore-session"})");

    post("personality", R"({"name":"old-agent-1.2"})");
    EXPECT_EQ(state("version"), "1.2");
    EXPECT_EQ(state("owned"), "false");
    EXPECT_EQ(control_file(home).at("version"), "1.2");
    Client application;
    ASSERT_TRUE(application.connect());
    EXPECT_EQ(application.exchange(int32(48) + int32(14) + int32(1) + Bytes(1, '\0')), int32(0) + int32(-1))
        << "since 1.3";

    post("personality", R"({"name":"under-update"})");
    EXPECT_TRUE(run_main_loop_until([&] { return !application.is_connected(); }));
    EXPECT_EQ(state("peers"), "[]") << "the control API still works";
    post("update", R"({"step":"complete","value":"2.1"})");
    EXPECT_EQ(state("version"), "2.1");
    post("personality", R"({"name":"fresh-device"})");
    EXPECT_EQ(api.post("personality", R"({"name":"robot"})").at("error"),
              "there is no personality 'robot'; it is one of fresh-device, old-agent-1.2, owned-and-signed-in, "
              "under-update");
}

// ---- scenarios -------------------------------------------------------------------------------------------------------

TEST_F(Commands, PlayAScenario)
{
    EXPECT_EQ(state("play"), "null");
    EXPECT_EQ(post("play", R"({"scenario":{"title":"greeting","steps":[
        {"say":"hello"}, {"expect":"send_presence","with":{"presence":2}}, {"update":"ready","value":"on"}]}})")
                  .body,
              R"({"ok":true,"started":true})");
    EXPECT_TRUE(becomes("play.step", R"(expect send_presence {"presence":2})"));
    EXPECT_EQ(state("play.running"), "true");
    EXPECT_EQ(state("play.title"), "greeting");
    EXPECT_EQ(api.post("play", R"({"scenario":{"steps":[]}})").at("error"),
              "another scenario is being played; 'stop-play' stops it");
    Client application;
    ASSERT_TRUE(application.connect());
    application.exchange(int32(66) + int32(2));
    EXPECT_TRUE(becomes("play.running", "false"));
    EXPECT_EQ(state("play.problem"), "");
    EXPECT_EQ(state("update_ready"), "true");
}

TEST_F(Commands, ReportWhyAScenarioFailed)
{
    post("play", R"({"scenario":{"steps":[{"expect":"send_presence","within_ms":10}]}})");
    EXPECT_TRUE(becomes("play.running", "false"));
    EXPECT_EQ(state("play.problem"), "line 1, expect send_presence: not within 10 ms; nothing was called");
    EXPECT_EQ(post("wait", R"({"filter":{"scenario":{"any":true},"ok":false},"since":0})").at("entry.line"), "1");
}

TEST_F(Commands, StopAScenario)
{
    post("play", R"({"scenario":{"steps":[{"wait_ms":600000}]}})");
    EXPECT_TRUE(becomes("play.step", "wait 600000 ms"));
    post("stop-play");
    EXPECT_EQ(state("play.running"), "false");
    EXPECT_EQ(state("play.problem"), "line 1, wait 600000 ms: it was stopped");
    EXPECT_EQ(api.post("stop-play").at("error"), "no scenario is being played");
    post("play", R"({"scenario":{"steps":[{"say":"before"},{"stop-play":true},{"say":"never"}]}})");
    EXPECT_TRUE(becomes("play.running", "false")) << "a scenario can stop itself";
    EXPECT_EQ(post("count", R"({"filter":{"step":"never"}})").at("count"), "0");
}

TEST_F(Commands, CannotWaitInAScenario)
{
    EXPECT_EQ(api.post("play", R"({"scenario":{"steps":[{"wait":{}}]}})").status, http::bad_request);
}

} // namespace
