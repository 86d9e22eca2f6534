// SPDX-License-Identifier: Apache-2.0
// Requests of applications to the cloud.
#include "agent/interface/from_json.hpp"
#include "cloud_fixture.hpp"
#include "support/signing_request.hpp"

#include <rpc_port_stub.h>

using namespace kv;
using namespace kv::test;
using namespace kv::virtual_agent;

namespace {

/// Reads the values of an event, secrets included.
class Reader {
public:
    explicit Reader(const Event &event) : parcel_(event.parcel.get())
    {
        rpc_port_parcel_rewind(parcel_);
        for (int i = 0; i < 3; ++i) // kind, type, number
            number();
        bool once = false;
        rpc_port_parcel_read_bool(parcel_, &once);
    }
    int number()
    {
        int value = 0;
        EXPECT_EQ(rpc_port_parcel_read_int32(parcel_, &value), 0);
        return value;
    }
    std::string text()
    {
        char *value = nullptr;
        EXPECT_EQ(rpc_port_parcel_read_string(parcel_, &value), 0);
        std::string copy = value ? value : "";
        std::free(value);
        return copy;
    }

private:
    rpc_port_parcel_h parcel_;
};

/// The one event that completes a one-shot request.
Reader answer_of(Call &call)
{
    EXPECT_EQ(call.events.size(), 1U);
    return Reader{call.events.at(0)};
}

std::string member(const std::string &document, const char *name)
{
    const Json parsed = Json::parse(document);
    const char *text = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(parsed.get(), name));
    return text ? text : "";
}

auto numbers(const std::vector<int> &values)
{
    Json list = Json::array();
    for (int value : values)
        list.append(value);
    return from_json(describe::Arr<master::int_array, "numbers">{}, list.get());
}

TEST_F(AgentCloud, KeepsThePlatformByDeviceNumberInEitherWireFormat)
{
    rpc_port_korvane_platform_info_s record{};
    record.model_number = CText::copy("WM7");
    record.platform_version = CText::copy("9.0");
    EXPECT_EQ(ask(master::set_platform_info{}, &record), 0);
    EXPECT_EQ(ask(master::set_platform_info_with_device_no{}, 2, R"({"model_number":"L1","vid":"v"})"), 0);
    EXPECT_EQ(ask(master::set_platform_info_with_device_no{}, 3, "no document"), -1);
    EXPECT_EQ(state.cloud.platform_infos, (std::map<int, std::string>{{0, R"({"model_number":"WM7","p_ver":"9.0"})"},
                                                                      {2, R"({"model_number":"L1","vid":"v"})"}}));
}

TEST_F(AgentCloud, KeepsNamesTypesNicksAndProfilesByDeviceNumber)
{
    EXPECT_EQ(ask(master::set_device_name{}, "washer"), 0);
    EXPECT_EQ(ask(master::set_device_name_with_device_no{}, 4, "drum"), 0);
    EXPECT_EQ(ask(master::set_nick_name{}, 4, "Rumble"), 0);
    EXPECT_EQ(common(R"({"common_interface":1,"device_no":4,"device_type":"x.d.drum"})"), 0);
    EXPECT_EQ(ask(master::set_device_profile{}, 0, R"({"nick":"Washy","pushregid":"abc"})"), 0);
    EXPECT_EQ(ask(master::set_device_profile{}, 0, "[]"), -1);
    const std::string all = state.view().text();
    EXPECT_TRUE(has(all, R"("device_names":{"0":"washer","4":"drum"})"));
    EXPECT_TRUE(has(all, R"("nicks":{"4":"Rumble"})"));
    EXPECT_TRUE(has(all, R"("device_types":{"4":"x.d.drum"})"));
    EXPECT_TRUE(has(all, R"("profiles":{"0":{"nick":"Washy","pushregid":"<secret, 3 bytes>"}})"));
    EXPECT_EQ(ask(master::set_device_name{}, std::string(65537, 'x').c_str()), -1) << "a name is longer than the limit";
}

TEST_F(AgentCloud, KeepsTheTerms)
{
    EXPECT_TRUE(has(shown(), R"("terms":{"data":"<secret, 0 bytes>","url":"","type":null,"status":null})"));
    EXPECT_EQ(ask(master::set_tnc_data{}, R"({"tnc_version":"3"})"), 0);
    EXPECT_EQ(ask(master::set_tnc_data{}, "3"), -1);
    EXPECT_EQ(state.cloud.terms.data, R"({"tnc_version":"3"})");
    ask(master::set_tnc_url{}, "https://terms.example");
    ask(master::set_tnc_type{}, 5);
    ask(master::set_tnc_status{}, -1);
    EXPECT_TRUE(has(shown(), R"("terms":{"data":"<secret, 19 bytes>","url":"https://terms.example",)"
                             R"("type":5,"status":-1})"));
}

TEST_F(AgentCloud, RequestsDiagnostics)
{
    step("diagnostics", R"({"value":7,"text":{"level":"full"}})");
    step("diagnostics");
    ASSERT_EQ(device.sent.size(), 2U);
    Reader full{device.sent[0]};
    EXPECT_EQ(full.number(), 7);
    EXPECT_EQ(full.text(), R"({"level":"full"})");
    Reader plain{device.sent[1]};
    EXPECT_EQ(plain.number(), 0);
    EXPECT_EQ(plain.text(), "{}");
}

TEST_F(AgentCloud, SendsTheLastStatusThatWasReported)
{
    EXPECT_TRUE(has(refusal("last-status"), "has reported no last status"));
    rpc_port_korvane_last_status_info_s record{};
    record.timestamp = 1700000000;
    record.error_code = CText::copy("E12");
    EXPECT_EQ(ask(master::set_last_status_info{}, &record), 0);
    step("last-status");
    step("last-status", R"({"text":"mended"})");
    EXPECT_EQ(sent_events(), (Events{R"(last_status_changed_cb {"last_status":"{\"timestamp\":1700000000,)"
                                     R"(\"error_code\":\"E12\"}"})",
                                     R"(last_status_changed_cb {"last_status":"mended"})"}));
}

TEST_F(AgentCloud, KeepsTheLatestRequestsOfEachKind)
{
    for (int state_number = 0; state_number < 40; ++state_number)
        ask(master::send_presence{}, state_number);
    ask(master::set_regist_set_device{}, "one");
    ask(master::set_regist_set_device{}, "two");
    ask(master::set_sso_list{}, "user's login data");
    const std::string all = shown();
    EXPECT_TRUE(has(all, R"("presence":39)"));
    EXPECT_TRUE(has(all, R"("send_presence":[{"presence":8},{"presence":9},)")) << "the last 32 are kept";
    EXPECT_TRUE(has(all, R"("set_regist_set_device":[{"regist_set_device":"one"},{"regist_set_device":"two"}])"));
    EXPECT_TRUE(has(all, R"("set_sso_list":[{"sso_list":"<secret, 17 bytes>"}])"));
}

TEST_F(AgentCloud, KeepsPushMessagesWithTheirSecretsMasked)
{
    EXPECT_EQ(common(R"({"common_interface":2,"custom_push_msg":{"title":"done","pass":"0815"}})"), 0);
    EXPECT_EQ(common(R"({"common_interface":2})"), -1);
    EXPECT_EQ(common("no document"), -1);
    EXPECT_EQ(common(R"({"common_interface":77})"), -1);
    EXPECT_TRUE(has(shown(), R"("send_custom_push":[{"common_interface":2,"custom_push_msg":"<secret, 30 bytes>"})"));
}

// ---- sub-devices -----------------------------------------------------------------------------------------------------

TEST_F(AgentCloud, KeepsSubDevicesAndTheirPresence)
{
    EXPECT_EQ(ask(master::register_sub_device{}, 1, "lamp"), 0);
    EXPECT_EQ(ask(master::register_sub_device{}, 7, "fan"), 0);
    EXPECT_EQ(ask(master::register_sub_device{}, 0, "itself"), -1);
    EXPECT_EQ(ask(master::set_sub_device_presence{}, numbers({1, 7}).get(), true), 0);
    EXPECT_EQ(ask(master::set_sub_device_presence{}, numbers({1, 2}).get(), false), -1) << "device 2 does not exist";
    const auto list = [this] { return std::get<0>(handlers.handle(master::get_sub_device_presence{}, call).outs); };
    EXPECT_EQ(list(), R"([{"di":"lamp","prs":1},{"di":"fan","prs":1}])")
        << "a request with an unknown device changes none";
    EXPECT_EQ(ask(master::unregister_sub_device{}, 1), 0);
    EXPECT_EQ(ask(master::unregister_sub_device{}, 1), -1);
    EXPECT_EQ(list(), R"([{"di":"fan","prs":1}])");
}

// ---- certificates and tokens -----------------------------------------------------------------------------------------

TEST_F(AgentCloud, ReportsWhyACertificateIsRefused)
{
    EXPECT_EQ(
        ask(master::create_hdr_certificate{}, "lamp", "no request", DelegateOf<master::create_hdr_certificate_cb>{}),
        0);
    Reader created = answer_of(call);
    EXPECT_EQ(created.number(), -22);
    EXPECT_TRUE(has(created.text(), "not a signing request"));

    call.events.clear();
    EXPECT_EQ(ask(master::get_hdr_certificate{}, "lamp", "arn:nothing", DelegateOf<master::get_hdr_certificate_cb>{}),
              0);
    Reader got = answer_of(call);
    EXPECT_EQ(got.number(), -2);
    EXPECT_TRUE(has(got.text(), "'arn:nothing'"));
    EXPECT_EQ(got.text(), "");
}

TEST_F(AgentCloud, ReportsThatACertificateIsNoLongerValid)
{
    const auto key = new_key();
    const auto new_certificate = [&] {
        call.events.clear();
        const std::string request = request_for(key.get());
        EXPECT_EQ(ask(master::create_hdr_certificate{}, "lamp", request.c_str(),
                      DelegateOf<master::create_hdr_certificate_cb>{}),
                  0);
        Reader answer = answer_of(call);
        EXPECT_EQ(answer.number(), 0);
        return member(answer.text(), "certificate_arn");
    };
    const auto result_for = [&](const std::string &name) {
        call.events.clear();
        EXPECT_EQ(
            ask(master::get_hdr_certificate{}, "lamp", name.c_str(), DelegateOf<master::get_hdr_certificate_cb>{}), 0);
        return answer_of(call).number();
    };
    EXPECT_TRUE(has(refusal("invalidate-certificates"), "no valid certificate was issued"));
    const std::string first = new_certificate();
    const std::string second = new_certificate();
    EXPECT_EQ(step("invalidate-certificates", R"({"reason":"expired"})"), R"({"certificates":2})");
    const std::string third = new_certificate();
    EXPECT_EQ(result_for(first), -127);
    EXPECT_EQ(result_for(second), -127);
    EXPECT_EQ(result_for(third), 0);
    EXPECT_EQ(step("invalidate-certificates"), R"({"certificates":1})");
    EXPECT_EQ(result_for(second), -127) << "the first reason stays";
    EXPECT_EQ(result_for(third), -128);
    EXPECT_TRUE(has(refusal("invalidate-certificates", R"({"reason":"lost"})"), "revoked or expired, not 'lost'"));
    be("2.0");
    EXPECT_FALSE(refusal("invalidate-certificates").empty()) << "such an agent has no certificates";
}

TEST_F(AgentCloud, IssuesTokensWithServerAndLifetime)
{
    EXPECT_EQ(ask(master::create_hdr_token_info{}, DelegateOf<master::create_hdr_token_info_cb>{}), 0);
    Reader answer = answer_of(call);
    EXPECT_EQ(answer.number(), 0);
    const std::string info = answer.text();
    EXPECT_EQ(member(info, "uuid"), "11111111-2222-4333-8444-555555555555");
    EXPECT_EQ(member(info, "server_name"), "Korvane virtual cloud");
    EXPECT_EQ(member(info, "server_url"), "https://cloud.korvane.example");
    const std::string token = member(info, "access_token");
    EXPECT_EQ(std::count(token.begin(), token.end(), '.'), 2) << token;
    EXPECT_FALSE(has(call.events[0].values->text(), token)) << "the token must not be shown";
}

TEST_F(AgentCloud, ReportsWhyRequestDataThatAreNotADocumentAreRefused)
{
    for (const char *data : {"", "7", "[1]", R"({"a":)"}) {
        call.events.clear();
        EXPECT_EQ(
            ask(master::create_hdr_token_info_custom{}, data, DelegateOf<master::create_hdr_token_info_custom_cb>{}),
            0);
        Reader answer = answer_of(call);
        EXPECT_EQ(answer.number(), -22) << data;
        EXPECT_EQ(member(answer.text(), "error"), "the request data are not a JSON object") << data;
    }
}

} // namespace
