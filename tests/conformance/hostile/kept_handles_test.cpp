// SPDX-License-Identifier: Apache-2.0
// An object with the same form for every agent stays valid when the agent is replaced, if the new agent supports it.
#include "updates.hpp"

namespace kv::test {
namespace {

using Profile = korvane_device_profile_info_h;
using Terms = korvane_tnc_info_h;
using Status = korvane_last_status_info_h;

/// A handle with one form for all agents. Only an agent that does not support it makes its use fail.
struct OneForm {
    std::string label;
    std::string oldest;
    void *(*make)();
    void (*end)(void *object);
    Use use;
    Bytes request;
};

std::ostream &operator<<(std::ostream &out, const OneForm &kind)
{
    return out << kind.label;
}

// clang-format off
const std::vector<OneForm> one_form = {
    {.label = "LastStatus", .oldest = "1.1",
     .make = made<Status, korvane_laststatusinfo_create, korvane_laststatusinfo_set_error_code>,
     .end = ended<Status, korvane_laststatusinfo_destroy>,
     .use = {.function = "korvane_set_last_status_info", .minimum_version = 1001,
 .call = send<Status, korvane_set_last_status_info>}, .request = bytes(i32(40), i32(0), str("mine"))},
    {.label = "DeviceProfile", .oldest = "1.3",
     .make = made<Profile, korvane_device_profile_info_create, korvane_device_profile_info_set_nick>,
     .end = ended<Profile, korvane_device_profile_info_destroy>,
     .use = {.function = "korvane_set_device_profile_info", .minimum_version = 1003,
 .call = send<Profile, korvane_set_device_profile_info>}, .request = bytes(i32(70), i32(0), str(R"({"nick":"mine"})"))},
    {.label = "Terms", .oldest = "1.3", .make = made<Terms, korvane_tnc_info_create, korvane_tncinfo_set_version>,
     .end = ended<Terms, korvane_tnc_info_destroy>,
     .use = {.function = "korvane_set_tnc_info", .minimum_version = 1003, .call = send<Terms, korvane_set_tnc_info>},
     .request = bytes(i32(63), str(R"({"tnc_version":"mine"})"))},
};
// clang-format on

class UpdateOfAHandleInOneForm : public Update, public ::testing::WithParamInterface<OneForm> {};

INSTANTIATE_TEST_SUITE_P(Of, UpdateOfAHandleInOneForm, ::testing::ValuesIn(one_form),
                         [](const auto &row) { return row.param.label; });

TEST_P(UpdateOfAHandleInOneForm, KeepsItValidForAgentsThatSupportIt)
{
    const OneForm &kind = GetParam();
    connect_to(kind.oldest);
    void *object = kind.make();
    for (const char *version : {"2.3", "1.0", "2.0"}) {
        SCOPED_TRACE(version);
        updated_to(version);
        const bool known = version_number(version) >= kind.use.minimum_version;
        EXPECT_EQ(kind.use.call(handle, object), known ? ok : too_old);
        EXPECT_EQ(sent(), known ? std::vector<Bytes>{kind.request} : std::vector<Bytes>{});
    }
    kind.end(object);
}

/// Objects from the agent: provisioning data, tokens, the TCP header, the presence of sub-devices.
TEST_F(Update, KeepsObjectsOfTheOldAgentReadable)
{
    connect_to("2.3");
    const auto answers_with = [&](const std::string &text) {
        platform.main_port().on_sent = [text](Port &port, const Bytes &) { port.push(reply(0, str(text))); };
    };
    struct Held {
        korvane_device_prov_info_h provisioning = nullptr;
        std::function<void(korvane_hdr_token_info_h)> on_token;
    } held;
    const auto keep = [](korvane_h, korvane_device_prov_info_h info, void *data) {
        static_cast<Held *>(data)->provisioning = info;
    };
    ASSERT_EQ(korvane_set_device_provisioning_cb(handle, keep, &held), ok);
    platform.proxy().push_event(
        event(8, last_seq_id(platform.log), false, str("en"), str("GB"), str("now"), str("phone"), str("me")));
    answers_with(R"({"tcp_header_info_src_addr":"a"})");
    korvane_tcp_header_info_h header = nullptr;
    ASSERT_EQ(korvane_get_tcp_header_info(handle, &header), ok);
    answers_with(R"([{"di":"lamp","prs":1}])");
    korvane_sub_dev_prs_h *list = nullptr;
    int items = 0;
    ASSERT_EQ(korvane_get_sub_device_presence_list(handle, &list, &items), ok);
    answers(0);
    const auto on_token = [](korvane_h, int, korvane_hdr_token_info_h token, void *data) {
        static_cast<Held *>(data)->on_token(token);
    };
    ASSERT_EQ(korvane_create_hdr_token_info(handle, on_token, &held), ok);
    const int token_seq_id = last_seq_id(platform.log);

    using Provisioning = korvane_device_prov_info_h;
    using Token = korvane_hdr_token_info_h;
    using Tcp = korvane_tcp_header_info_h;
    for (const char *version : {"1.0", "1.3", "2.0", "2.2"}) {
        SCOPED_TRACE(version);
        const int now = version_number(version);
        updated_to(version);
        EXPECT_EQ((get_text<Provisioning, korvane_devinfo_get_language>(handle, held.provisioning)), ok);
        EXPECT_EQ((get_text<Tcp, korvane_tcp_header_info_get_src_addr>(handle, header)), now >= 1004 ? ok : too_old);
        char *device_id = nullptr;
        int presence = 0;
        EXPECT_EQ(korvane_get_sub_device_presence(list[0], &device_id, &presence), now >= 1006 ? ok : too_old);
        free(device_id);
    }
    int tokens = 0;
    held.on_token = [&](Token token) {
        ++tokens;
        EXPECT_EQ((get_text<Token, korvane_hdr_token_info_get_uuid>(handle, token)), ok);
        updated_to("2.0");
        EXPECT_EQ((get_text<Token, korvane_hdr_token_info_get_uuid>(handle, token)), too_old);
    };
    platform.proxy().push_event(event(28, token_seq_id, true, i32(0), str(R"({"uuid":"u"})")));
    EXPECT_EQ(tokens, 1);
    EXPECT_EQ(korvane_release_tcp_header_info(header), ok);
    EXPECT_EQ(korvane_release_sub_device_presence_list(list, items), ok);
}

} // namespace
} // namespace kv::test
