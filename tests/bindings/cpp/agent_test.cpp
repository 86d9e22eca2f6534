// SPDX-License-Identifier: Apache-2.0
// The C++ API with a virtual agent: each function sends what its arguments say, each event reaches its handler.
#include "testing/support/wait.hpp"

#include <korvane.hpp>
#include <korvane_test.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

using namespace std::string_literals;
using korvane::Errc;

namespace {

class CppWithAgent : public testing::Test {
protected:
    void SetUp() override
    {
        ::setenv("KORVANE_AGENT", KORVANE_AGENT_PATH, 1);
        ::setenv("KORVANE_LOG", "off", 1);
    }
    void TearDown() override
    {
        device = {};
        ::unsetenv("KORVANE_LOG");
    }

    /// Starts an agent and connects to it.
    void connect(const char *version = nullptr)
    {
        agent.emplace(version);
        auto opened = korvane::Device::open([this](korvane::ConnectionStatus status, std::error_code reason) {
            statuses.emplace_back(status, reason);
        });
        ASSERT_TRUE(opened) << opened.name();
        device = *std::move(opened);
        ASSERT_TRUE(kv::test::run_main_loop_until([this] { return !statuses.empty(); }));
        ASSERT_EQ(statuses.front().first, korvane::ConnectionStatus::connected);
        ASSERT_FALSE(statuses.front().second);
    }

    /// The call succeeded and the agent has received it with these arguments, JSON text.
    void expect_sent(const korvane::Result<void> &result, const char *method, const std::string &arguments)
    {
        EXPECT_TRUE(result) << result.function() << ": " << result.name();
        EXPECT_NO_THROW(agent->wait_for_call(method, arguments.c_str())) << method;
    }

    /// The agent emits the event; the handler notes it in `seen`.
    void expect_event(const std::string &event, const std::string &values, const std::string &expected)
    {
        seen.clear();
        agent->tell("emit " + event + " " + values);
        EXPECT_TRUE(kv::test::run_main_loop_until([this] { return !seen.empty(); })) << event;
        EXPECT_EQ(seen, expected) << event;
    }

    std::optional<korvane::test::Agent> agent{};
    korvane::Device device{};
    std::vector<std::pair<korvane::ConnectionStatus, std::error_code>> statuses{};
    std::string seen{};
};

TEST_F(CppWithAgent, EveryRequestReachesTheAgent)
{
    connect();
    // Core state
    expect_sent(device.set_device_property("lamp", 1, 3), "set_device_property",
                R"({"device_name":"lamp","wifi_mode":1,"wifi_freq":3})");
    expect_sent(device.set_device_property_with_wifi_authtype("lamp", 1, 3, {1, 2}), "common_interface", "{}");
    expect_sent(device.start(), "start", "{}");
    EXPECT_EQ(device.get_easysetup_status().value(), false);
    EXPECT_FALSE(device.get_device_id().value().empty());
    // Setup
    expect_sent(device.set_random_pin("1234"), "set_random_pin", "{}");
    expect_sent(device.unset_random_pin(), "unset_random_pin", "{}");
    expect_sent(device.set_preconfigured_pin("4321"), "set_preconfigured_pin", "{}");
    expect_sent(device.set_mot_status(true), "set_mot_status", R"({"enable":true})");
    expect_sent(device.set_gatt_ble(true), "set_gatt_ble", R"({"enable":true})");
    expect_sent(device.set_language_list({"en-GB", "ko-KR"}), "set_language_list",
                R"({"languages":[{"language":"en-GB"},{"language":"ko-KR"}]})");
    expect_sent(device.set_provisioning_vendor_info(R"({"v":1})"), "set_provisioning_vendor_info", "{}");
    expect_sent(device.set_wifi_connection_error_code(3), "set_wifi_connection_error_code", R"({"error_code":3})");
    expect_sent(device.set_sso_list("list"), "set_sso_list", "{}");
    expect_sent(device.set_easysetup_version_info("7"), "set_easysetup_version_info", R"({"version_info":"7"})");
    // Identity
    korvane::PlatformInfo platform;
    platform.model_number = "M-1";
    platform.firmware_version = "4.2";
    expect_sent(device.set_platform_info(platform), "set_platform_info_with_device_no", R"({"device_no":0})");
    expect_sent(device.set_platform_info_with_device_no(platform, 3), "set_platform_info_with_device_no",
                R"({"device_no":3})");
    korvane::LastStatusInfo last_status;
    last_status.timestamp = 17;
    last_status.error_code = "E-12";
    expect_sent(device.set_last_status_info(last_status), "set_last_status_info",
                R"({"last_status_info":{"timestamp":17,"error_code":"E-12"}})");
    korvane::DeviceProfileInfo profile;
    profile.nick = "attic";
    profile.serial_number = "S-9";
    expect_sent(device.set_device_profile_info(profile), "set_device_profile", R"({"device_no":0})");
    expect_sent(device.set_regist_set_device("rsd"), "set_regist_set_device", R"({"regist_set_device":"rsd"})");
    expect_sent(device.set_nick_name(0, "lamp"), "set_nick_name", R"({"device_no":0,"nick":"lamp"})");
    expect_sent(device.set_device_name("Lamp"), "set_device_name", R"({"device_name":"Lamp"})");
    expect_sent(device.set_device_name_with_device_no("Lamp", 0), "set_device_name_with_device_no",
                R"({"device_no":0,"device_name":"Lamp"})");
    expect_sent(device.set_device_type_with_device_no(0, "light"), "common_interface", "{}");
    EXPECT_EQ(device.get_device_owned_status().value(), false);
    // Keep-alive
    expect_sent(device.set_keepalive_intervals({30, 60}), "set_keepalive_intervals",
                R"({"intervals":[{"interval":30},{"interval":60}]})");
    expect_sent(device.select_keepalive_intervals({1}), "select_keepalive_intervals", R"({"indexes":[{"index":1}]})");
    expect_sent(device.send_presence(1), "send_presence", R"({"presence":1})");
    // Sub-devices
    EXPECT_EQ(device.get_sub_device_presence_list().error(), Errc::no_data);
    expect_sent(device.register_sub_device(1, "lamp-1"), "register_sub_device",
                R"({"device_no":1,"device_id":"lamp-1"})");
    expect_sent(device.set_sub_device_presence({1}, true), "set_sub_device_presence",
                R"({"device_nos":[1],"presence":true})");
    const auto presences = device.get_sub_device_presence_list();
    ASSERT_TRUE(presences) << presences.name();
    ASSERT_EQ(presences->size(), 1U);
    EXPECT_EQ(presences->front().device_id, "lamp-1");
    EXPECT_EQ(presences->front().presence, 1);
    expect_sent(device.unregister_sub_device(1), "unregister_sub_device", R"({"device_no":1})");
    // Terms and push messages
    korvane::TncInfo terms;
    terms.version = "2024-05";
    terms.header = "Terms of use";
    expect_sent(device.set_tnc_info(terms), "set_tnc_data", "{}");
    expect_sent(device.set_tnc_url("https://terms.example.org"), "set_tnc_url",
                R"({"url":"https://terms.example.org"})");
    expect_sent(device.set_tnc_type(5), "set_tnc_type", R"({"type":5})");
    expect_sent(device.set_tnc_status(1), "set_tnc_status", R"({"status":1})");
    expect_sent(device.send_custom_push_msg(R"({"title":"done"})"), "common_interface", "{}");
    expect_sent(device.disable_signin(true), "common_interface", "{}");
    expect_sent(device.disable_signin(false), "common_interface", "{}");
    EXPECT_EQ(agent->count_calls("common_interface"), 5);
    // Replies to questions that were not asked
    (void)device.send_user_confirm(true);
    (void)device.send_reset_confirm(false);
    (void)device.send_provisioning_language_setting_result(1, true);
    (void)device.disconnect_cloud_session();
    (void)device.reset();
    for (const char *method : {"send_user_confirm", "send_reset_confirm", "send_provisioning_language_setting_result",
                               "disconnect_cloud_session", "reset"})
        EXPECT_EQ(agent->count_calls(method), 1) << method;
    expect_sent(device.stop(), "stop", "{}");

    const std::string snapshot = agent->ask("snapshot");
    for (const char *text : {"4321", "M-1", "4.2", "S-9", "attic", "2024-05", "Terms of use"})
        EXPECT_NE(snapshot.find(text), std::string::npos) << text;
}

void expect_complete(const korvane::TcpHeaderInfo &header)
{
    EXPECT_EQ(header.ip_version, 4);
    EXPECT_TRUE(header.src_addr && header.src_port && header.dst_addr && header.dst_port && header.seq_num &&
                header.ack_num && header.window && header.window_scale);
}

TEST_F(CppWithAgent, SignsUpAndReadsTheSession)
{
    connect();
    std::vector<std::string> events;
    auto signed_up =
        device.on_signup_status_changed([&](bool status) { events.push_back(status ? "signed up" : "signed off"); });
    auto signed_in =
        device.on_signin_status_changed([&](bool status) { events.push_back(status ? "signed in" : "signed out"); });
    ASSERT_TRUE(signed_up && signed_in);
    ASSERT_TRUE(device.start());
    agent->tell("personality fresh-device");
    korvane::CloudInfo account;
    account.region = "region-1";
    account.auth_provider = "provider";
    account.access_token = "token";
    account.refresh_token = "refresh";
    account.user_id = "user";
    account.client_id = "client";
    account.cloud_interface_server = "https://cloud.example.org";
    account.deploy_environment = "prod";
    account.token_type = 2;
    ASSERT_TRUE(device.sign_up_cloud(account));
    ASSERT_TRUE(kv::test::run_main_loop_until([&] { return events.size() == 2; }));
    EXPECT_EQ(events, (std::vector<std::string>{"signed up", "signed in"}));
    EXPECT_TRUE(device.get_signup_status().value());
    EXPECT_TRUE(device.get_signin_status().value());
    EXPECT_EQ(device.get_thing_status().value(), 2);
    expect_sent(device.send_keepalive(), "send_keepalive", "{}");
    const auto header = device.get_tcp_header_info();
    ASSERT_TRUE(header) << header.name();
    expect_complete(*header);
    const std::string snapshot = agent->ask("snapshot");
    for (const char *text : {"region-1", "user", "prod", "https://cloud.example.org"})
        EXPECT_NE(snapshot.find(text), std::string::npos) << text;
}

TEST_F(CppWithAgent, LeavesOutWhatTheAgentIsTooOldFor)
{
    connect("1.4");
    ASSERT_TRUE(device.start());
    korvane::CloudInfo account;
    account.access_token = "token";
    account.user_id = "user";
    account.token_type = 2;
    const auto strict = device.sign_up_cloud(account);
    EXPECT_EQ(strict.error(), Errc::agent_version_lower);
    EXPECT_EQ(strict.function(), "korvane_cloudinfo_set_token_type");
    EXPECT_EQ(agent->count_calls("signup_cloud"), 0);
    expect_sent(device.sign_up_cloud(account, korvane::IfTooOld::leave_out), "signup_cloud",
                R"({"cloud_info":{"user_id":"<secret, 4 bytes>"}})");
    EXPECT_EQ(device.set_device_type_with_device_no(0, "light").error(), Errc::agent_version_lower);
}

TEST_F(CppWithAgent, SendsAccessPointsInReplyToAScan)
{
    for (const char *version : {"2.2", "2.3"}) {
        statuses.clear();
        connect(version);
        int asked = 0;
        auto scan = device.on_scan_ap([&](int req_id) {
            ++asked;
            korvane::AccessPoint home;
            home.ssid = "home";
            home.bssid = "02:00:00:00:00:01";
            home.authtype = 3;
            home.enctype = 4;
            home.channel = 6;
            home.signal_level = -48;
            home.max_rate = 54;
            home.frequency = 2437;
            korvane::AccessPoint attic;
            attic.ssid = "attic";
            EXPECT_TRUE(device.send_ap_list({home, attic}, req_id, korvane::IfTooOld::leave_out));
            EXPECT_EQ(device.send_ap_list({}, req_id).error(), Errc::invalid_parameter);
        });
        ASSERT_TRUE(scan && device.start());
        agent->tell("phone connect");
        agent->tell("phone scan");
        agent->until("setup.networks.#", "2");
        agent->until("setup.networks.0.ssid", R"("home")");
        agent->until("setup.networks.0.channel", "6");
        agent->until("setup.networks.1.ssid", R"("attic")");
        EXPECT_EQ(asked, 1);
        device = {};
        agent.reset();
    }
}

TEST_F(CppWithAgent, EveryEventReachesItsHandler)
{
    connect();
    std::vector<korvane::Subscription> kept;
    const auto keep = [&kept](korvane::Result<korvane::Subscription> made) {
        ASSERT_TRUE(made) << made.function() << ": " << made.name();
        EXPECT_TRUE(made->active());
        kept.push_back(*std::move(made));
    };
    const auto note = [this](const auto &...values) {
        std::ostringstream text;
        ((text << values << ' '), ...);
        seen = text.str();
    };
    keep(device.on_status_changed(note));
    keep(device.on_user_confirm([this] { seen = "user confirm"; }));
    keep(device.on_reset_confirm([this] { seen = "reset confirm"; }));
    keep(device.on_reset_result(note));
    keep(device.on_pin(note, [this] { seen = "pin closed"; }));
    keep(device.on_ultrasound_pin(note, [this] { seen = "sound stopped"; }));
    keep(device.on_stop_soft_ap([this] { seen = "soft ap stopped"; }));
    keep(device.on_scan_ap(note));
    keep(device.on_provisioning_language(note));
    keep(device.on_provisioning_vendor_info(note));
    keep(device.on_otm_support_feature(note));
    keep(device.on_provisioning_get_requested(note));
    keep(device.on_signin_status_changed(note));
    keep(device.on_signup_status_changed(note));
    keep(device.on_tcp_session_disconnected(note));
    keep(device.on_last_status_changed(note));
    keep(device.on_nick_changed(note));
    keep(device.on_keepalive_result(note));
    keep(device.on_diagnostics(note));
    keep(device.on_tnc_result(note));
    keep(device.on_cloud_device_list([this](const korvane::TextList &ids) {
        seen = std::to_string(ids.size());
        for (const std::string_view id : ids)
            seen += " " + std::string{id};
    }));
    keep(device.on_wifi_ap_provisioning([this](const korvane::ChosenAccessPoint &chosen) {
        seen = chosen.ssid().value() + "|" + chosen.password().value() + "|" +
               std::to_string(chosen.authtype().value()) + "|" + std::to_string(chosen.enctype().value()) + "|" +
               std::to_string(chosen.channel().value()) + "|" + chosen.candidate_ap().value() + "|" +
               chosen.bssid().value();
    }));
    keep(device.on_device_provisioning([this](const korvane::DeviceProvisioning &info) {
        seen = info.language().value() + "|" + info.country().value() + "|" + info.datetime().value() + "|" +
               info.regist_mobile_device().value();
    }));
    EXPECT_EQ(kept.size(), 23U);

    expect_event("status_changed_cb", "[-5]", "-5 ");
    expect_event("user_confirm_cb", "[]", "user confirm");
    expect_event("reset_confirm_cb", "[]", "reset confirm");
    expect_event("reset_result_cb", "[true]", "1 ");
    expect_event("pin_generate_cb", R"(["0815", 3])", "0815 3 ");
    expect_event("pin_display_close_cb", "[]", "pin closed");
    expect_event("ultrasound_pin_generate_cb", R"(["4711", 2])", "4711 2 ");
    expect_event("ultrasound_pin_stop_cb", "[]", "sound stopped");
    expect_event("softap_stop_cb", "[]", "soft ap stopped");
    expect_event("scan_ap_cb", "[77]", "77 ");
    expect_event("provisioning_language_cb", R"([9, "ui", "ko-KR"])", "9 ui ko-KR ");
    expect_event("provisioning_vendor_info_cb", R"([2, "vendor"])", "2 vendor ");
    expect_event("otm_support_feature_cb", "[3]", "3 ");
    expect_event("provisioning_get_requested_cb", R"(["what", 6])", "what 6 ");
    expect_event("signin_status_changed_cb", "[true]", "1 ");
    expect_event("signup_status_changed_cb", "[false]", "0 ");
    expect_event("tcp_session_disconnected_cb", "[104]", "104 ");
    expect_event("last_status_changed_cb", R"(["E-12"])", "E-12 ");
    expect_event("nick_changed_cb", R"([3, "attic"])", "3 attic ");
    expect_event("keepalive_result_cb", "[-1]", "-1 ");
    expect_event("diagnostics_cb", R"([5, "report"])", "5 report ");
    expect_event("tnc_result_cb", R"(["agreed"])", "agreed ");
    expect_event("cloud_device_list_cb", R"([[{"device_id":"d-1"},{"device_id":"d-2"}]])", "2 d-1 d-2");
    expect_event("wifi_ap_prov_with_candidates_cb",
                 R"([{"ap_ssid":"home","ap_pwd":"secret","ap_authtype":2,"ap_enctype":3,"ap_channel":6,)"
                 R"("ap_bssid":"02:00:00:00:00:01","ap_candidates":"[]"}])",
                 "home|secret|2|3|6|[]|02:00:00:00:00:01");
    expect_event("device_provisioning_cb",
                 R"([{"language":"en","country":"GB","datetime":"2026-01-02","rmd":"phone"}])",
                 "en|GB|2026-01-02|phone");

    for (korvane::Subscription &subscription : kept)
        EXPECT_TRUE(subscription.unset());
    seen.clear();
    agent->tell("emit status_changed_cb [1]");
    EXPECT_EQ(agent->count_calls("unset_status_changed_cb"), 1);
    EXPECT_EQ(seen, "");
}

TEST_F(CppWithAgent, OneShotRequestsComplete)
{
    connect();
    std::vector<std::string> done;
    ASSERT_TRUE(device.start_async([&](int result) { done.push_back("start " + std::to_string(result)); }));
    ASSERT_TRUE(kv::test::run_main_loop_until([&] { return done.size() == 1; }));
    EXPECT_EQ(done.front(), "start 0");

    // A reply goes to the oldest request of its kind; faults keep the agent from replying by itself.
    agent->tell("personality owned-and-signed-in");
    done.clear();
    EXPECT_TRUE(device.get_group_id([&](std::string_view id) { done.push_back("group " + std::string{id}); }));
    EXPECT_TRUE(device.create_hdr_token_info([&](int result, const korvane::HdrTokenInfo &token) {
        done.push_back("token " + std::to_string(result) + (token && !token.token().value().empty() ? " set" : ""));
        EXPECT_TRUE(token.uuid());
        EXPECT_TRUE(token.server_name());
        EXPECT_TRUE(token.server_url());
        EXPECT_TRUE(token.expiration_time());
    }));
    EXPECT_TRUE(device.create_hdr_token_info_custom(
        "{}", [&](int result, const korvane::HdrTokenInfo &) { done.push_back("custom " + std::to_string(result)); }));
    EXPECT_TRUE(
        device.get_hdr_certificate("light", "no-such-name", [&](int result, std::string_view, std::string_view) {
            done.push_back(result == 0 ? "found" : "not found");
        }));
    EXPECT_TRUE(device.create_hdr_certificate("light", "no request", [&](int result, std::string_view reason) {
        done.push_back(result != 0 && !reason.empty() ? "refused with a reason" : "created");
    }));
    EXPECT_TRUE(kv::test::run_main_loop_until([&] { return done.size() == 5; }));
    std::sort(done.begin(), done.end());
    ASSERT_EQ(done.size(), 5U);
    EXPECT_EQ(done[0], "custom 0");
    EXPECT_EQ(done[1].rfind("group ", 0), 0U);
    EXPECT_EQ(done[2], "not found");
    EXPECT_EQ(done[3], "refused with a reason");
    EXPECT_EQ(done[4], "token 0 set");
}

TEST_F(CppWithAgent, CoroutineAwaitsOneRequestAfterAnother)
{
    connect();
    agent->tell("personality owned-and-signed-in");
    std::string log;
    const auto note = [&log](const char *text, const auto &reply, const auto &is_as_expected) {
        log += (reply && is_as_expected(*reply) ? ", " : ", not ") + std::string{text};
    };
    const auto failed = [](const auto &certificate) { return certificate.result != 0; };
    const auto ask = [&]() -> korvane::Task {
        const auto started = co_await device.start_async();
        log += "start " + std::to_string(started.value());
        const auto group = co_await device.get_group_id();
        note("group", group, [](const auto &id) { return !id.empty(); });
        const auto token = co_await device.create_hdr_token_info();
        note("token", token, [](const auto &created) { return created.token && created.token->token; });
        const auto custom = co_await device.create_hdr_token_info_custom("{}");
        note("custom token", custom, [](const auto &created) { return bool(created.token); });
        const auto certificate = co_await device.create_hdr_certificate("light", "no request");
        note("refused", certificate, failed);
        const auto found = co_await device.get_hdr_certificate("light", "no-such-name");
        note("absent.", found, failed);
    };
    ask();
    EXPECT_TRUE(kv::test::run_main_loop_until([&] { return !log.empty() && log.back() == '.'; })) << log;
    EXPECT_EQ(log, "start 0, group, token, custom token, refused, absent.");
}

TEST_F(CppWithAgent, ReconnectsAfterTheAgentHasDied)
{
    connect();
    auto status = device.on_status_changed([](int) {});
    auto broken = device.on_rpc_io_error([this] { seen = "io error"; });
    ASSERT_TRUE(status && broken);
    const std::string home = agent->directory();
    agent->tell("fault start die");
    EXPECT_EQ(device.start().error(), Errc::io_error);
    ASSERT_TRUE(kv::test::run_main_loop_until([&] { return statuses.size() == 2 && !seen.empty(); }));
    EXPECT_EQ(statuses.back().first, korvane::ConnectionStatus::disconnected);
    EXPECT_EQ(seen, "io error");
    device = {};
    EXPECT_FALSE(status->active());

    agent.reset();
    statuses.clear();
    connect();
    EXPECT_TRUE(device.start());
}

TEST_F(CppWithAgent, ReopensInsideTheConnectionHandler)
{
    agent.emplace();
    int connected = 0;
    auto opened = korvane::Device::open([&](korvane::ConnectionStatus status, std::error_code) {
        EXPECT_EQ(status, korvane::ConnectionStatus::connected);
        if (++connected == 1) {
            EXPECT_TRUE(device.reopen());
        }
    });
    ASSERT_TRUE(opened);
    device = *std::move(opened);
    EXPECT_TRUE(kv::test::run_main_loop_until([&] { return connected == 2; }));
    EXPECT_TRUE(device.start());
    EXPECT_EQ(korvane::Device::open().error(), Errc::operation_failed) << "a process has one session";
}

TEST_F(CppWithAgent, RefusesTextsWithANulInside)
{
    connect();
    EXPECT_EQ(device.set_device_name("la\0mp"s).error(), Errc::invalid_parameter);
    EXPECT_EQ(device.set_language_list({"en\0GB"s}).error(), Errc::invalid_parameter);
    korvane::AccessPoint home;
    home.ssid = "ho\0me"s;
    EXPECT_EQ(device.send_ap_list({home}, 1).error(), Errc::invalid_parameter);
    EXPECT_EQ(device.create_hdr_certificate("li\0ght"s, "", [](int, std::string_view) {}).error(),
              Errc::invalid_parameter);
    EXPECT_EQ(agent->count_calls("set_device_name"), 0);
}

TEST_F(CppWithAgent, RefusesEmptyHandlers)
{
    connect();
    EXPECT_EQ(device.on_status_changed(std::function<void(int)>{}).error(), Errc::invalid_parameter);
    EXPECT_EQ(device.on_scan_ap(static_cast<void (*)(int)>(nullptr)).error(), Errc::invalid_parameter);
    EXPECT_EQ(device.start_async(std::function<void(int)>{}).error(), Errc::invalid_parameter);
    EXPECT_EQ(agent->count_calls("set_status_changed_cb"), 0);
}

} // namespace
