// SPDX-License-Identifier: Apache-2.0
#include "document_kinds.hpp"

namespace kv::test {
namespace {

constexpr int ok = KORVANE_ERROR_NONE;
constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

template <class Handle, int (*Get)(Handle, char **)>
Member text_member(std::string key)
{
    return {std::move(key), [](void *document, char **value) { return Get(static_cast<Handle>(document), value); },
            nullptr};
}

template <class Handle, int (*Get)(Handle, int *)>
Member number_member(std::string key)
{
    return {std::move(key), nullptr,
            [](void *document, int *value) { return Get(static_cast<Handle>(document), value); }};
}

using Ap = korvane_ap_info_h;
using Token = korvane_hdr_token_info_h;
using Tcp = korvane_tcp_header_info_h;

/// The user data of the callbacks.
void *data_of(const DocumentUse &use)
{
    return const_cast<DocumentUse *>(&use);
}
void use_ap(korvane_h, Ap ap_info, void *use)
{
    (*static_cast<DocumentUse *>(use))(ap_info);
}
void use_token(korvane_h, int, Token token, void *use)
{
    (*static_cast<DocumentUse *>(use))(token);
}

FakePlatform &platform()
{
    return FakePlatform::instance();
}

void ap_arrives(korvane_h handle, const std::string &text, const DocumentUse &use)
{
    ASSERT_EQ(korvane_set_wifi_ap_provisioning_cb(handle, use_ap, data_of(use)), ok);
    platform().proxy().push_event(event(18, last_seq_id(platform().log), false, str(text)));
}

void token_arrives(korvane_h handle, const std::string &text, const DocumentUse &use)
{
    ASSERT_EQ(korvane_create_hdr_token_info(handle, use_token, data_of(use)), ok);
    platform().proxy().push_event(event(28, last_seq_id(platform().log), true, i32(0), str(text)));
}

void custom_token_arrives(korvane_h handle, const std::string &text, const DocumentUse &use)
{
    ASSERT_EQ(korvane_create_hdr_token_info_custom(handle, "{}", use_token, data_of(use)), ok);
    platform().proxy().push_event(event(32, last_seq_id(platform().log), true, i32(0), str(text)));
}

void tcp_header_arrives(korvane_h handle, const std::string &text, const DocumentUse &use)
{
    platform().main_port().on_sent = [&](Port &port, const Bytes &) { port.push(reply(0, str(text))); };
    int untouched = 0;
    auto *header = reinterpret_cast<Tcp>(&untouched);
    const int code = korvane_get_tcp_header_info(handle, &header);
    EXPECT_EQ(code, header ? ok : failed);
    use(header);
    if (header) {
        EXPECT_EQ(korvane_release_tcp_header_info(header), ok);
    }
}

const std::vector<Member> token_members = {
    text_member<Token, korvane_hdr_token_info_get_uuid>("uuid"),
    text_member<Token, korvane_hdr_token_info_get_server_name>("server_name"),
    text_member<Token, korvane_hdr_token_info_get_server_url>("server_url"),
    text_member<Token, korvane_hdr_token_info_get_token>("access_token"),
    number_member<Token, korvane_hdr_token_info_get_expiration_time>("expiration_time"),
};

const std::vector<DocumentKind> kinds = {
    {.label = "AccessPoint",
     .members = {text_member<Ap, korvane_apinfo_get_ssid>("ap_ssid"),
                 text_member<Ap, korvane_apinfo_get_password>("ap_pwd"),
                 text_member<Ap, korvane_apinfo_get_bssid>("ap_bssid"),
                 text_member<Ap, korvane_apinfo_get_candidate_ap>("ap_candidates"),
                 number_member<Ap, korvane_apinfo_get_authtype>("ap_authtype"),
                 number_member<Ap, korvane_apinfo_get_enctype>("ap_enctype"),
                 number_member<Ap, korvane_apinfo_get_channel>("ap_channel")},
     .arrive = ap_arrives,
     .other_values_are_null = false},
    {.label = "Token", .members = token_members, .arrive = token_arrives, .other_values_are_null = false},
    {.label = "CustomToken", .members = token_members, .arrive = custom_token_arrives, .other_values_are_null = false},
    {.label = "TcpHeader",
     .members = {text_member<Tcp, korvane_tcp_header_info_get_src_addr>("tcp_header_info_src_addr"),
                 text_member<Tcp, korvane_tcp_header_info_get_dst_addr>("tcp_header_info_dst_addr"),
                 number_member<Tcp, korvane_tcp_header_info_get_ip_version>("tcp_header_info_ip_version"),
                 number_member<Tcp, korvane_tcp_header_info_get_src_port>("tcp_header_info_src_port"),
                 number_member<Tcp, korvane_tcp_header_info_get_dst_port>("tcp_header_info_dst_port"),
                 number_member<Tcp, korvane_tcp_header_info_get_seq_num>("tcp_header_info_seq_num"),
                 number_member<Tcp, korvane_tcp_header_info_get_ack_num>("tcp_header_info_ack_num"),
                 number_member<Tcp, korvane_tcp_header_info_get_window>("tcp_header_info_window"),
                 number_member<Tcp, korvane_tcp_header_info_get_window_scale>("tcp_header_info_window_scale")},
     .arrive = tcp_header_arrives,
     .other_values_are_null = true},
};

} // namespace

const std::vector<DocumentKind> &document_kinds()
{
    return kinds;
}

} // namespace kv::test
