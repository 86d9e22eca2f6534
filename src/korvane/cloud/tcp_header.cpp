// SPDX-License-Identifier: Apache-2.0
#include "src/korvane/core/documents/json_members.hpp"

using namespace kv;
using namespace kv::api;

/// The state of the agent's TCP connection at one moment.
struct korvane_tcp_header_info_s {
    Json document;
};

namespace {

const cJSON *document_of(const void *handle)
{
    return static_cast<const korvane_tcp_header_info_s *>(handle)->document.get();
}

namespace document = master::documents::tcp_header;

constexpr JsonField field(const master::Member &member, const char *name)
{
    return {member.key, name, document::document.since};
}

constexpr JsonField ip_version_field = field(document::ip_version, "ip_version");
constexpr JsonField src_addr_field = field(document::src_addr, "src_addr");
constexpr JsonField src_port_field = field(document::src_port, "src_port");
constexpr JsonField dst_addr_field = field(document::dst_addr, "dst_addr");
constexpr JsonField dst_port_field = field(document::dst_port, "dst_port");
constexpr JsonField seq_num_field = field(document::seq_num, "seq_num");
constexpr JsonField ack_num_field = field(document::ack_num, "ack_num");
constexpr JsonField window_field = field(document::window, "window");
constexpr JsonField window_scale_field = field(document::window_scale, "window_scale");

} // namespace

int korvane_get_tcp_header_info(korvane_h handle, korvane_tcp_header_info_h *tcp_header_info)
{
    AgentCall call{handle, since(1, 4)};
    ReadyCall &ready = call.require_given(tcp_header_info, "tcp_header_info_h").ready();
    if (!ready)
        return ready.result();

    // Applications release what they find here after a failure, too.
    *tcp_header_info = nullptr;
    Owned<korvane_tcp_header_info_s> info{make_zeroed<korvane_tcp_header_info_s>()};
    if (!ready.require(bool(info), KORVANE_ERROR_OUT_OF_MEMORY, "_tcp_header_info_s is NULL"_fmt).passed())
        return ready.result();

    CText text;
    if (int code = ready.invoke<master::get_tcp_header_info>(text.out()))
        return code;
    info->document = parse_document(text.get());
    if (ready.require(cJSON_IsObject(info->document.get()), KORVANE_ERROR_OPERATION_FAILED, "cJSON_Parse() failed"_fmt)
            .passed())
        *tcp_header_info = info.release();
    return ready.result();
}

int korvane_release_tcp_header_info(korvane_tcp_header_info_h tcp_header_info)
{
    LocalCall call{tcp_header_info, since(1, 4)};
    if (call.passed())
        destroy(tcp_header_info);
    return call.result();
}

int korvane_tcp_header_info_get_ip_version(korvane_tcp_header_info_h tcp_header_info, int *ip_version)
{
    return get_member(Caller::here(), tcp_header_info, document_of, ip_version_field, ip_version);
}

int korvane_tcp_header_info_get_src_addr(korvane_tcp_header_info_h tcp_header_info, char **src_addr)
{
    return get_member(Caller::here(), tcp_header_info, document_of, src_addr_field, src_addr);
}

int korvane_tcp_header_info_get_src_port(korvane_tcp_header_info_h tcp_header_info, int *src_port)
{
    return get_member(Caller::here(), tcp_header_info, document_of, src_port_field, src_port);
}

int korvane_tcp_header_info_get_dst_addr(korvane_tcp_header_info_h tcp_header_info, char **dst_addr)
{
    return get_member(Caller::here(), tcp_header_info, document_of, dst_addr_field, dst_addr);
}

int korvane_tcp_header_info_get_dst_port(korvane_tcp_header_info_h tcp_header_info, int *dst_port)
{
    return get_member(Caller::here(), tcp_header_info, document_of, dst_port_field, dst_port);
}

int korvane_tcp_header_info_get_seq_num(korvane_tcp_header_info_h tcp_header_info, int *seq_num)
{
    return get_member(Caller::here(), tcp_header_info, document_of, seq_num_field, seq_num);
}

int korvane_tcp_header_info_get_ack_num(korvane_tcp_header_info_h tcp_header_info, int *ack_num)
{
    return get_member(Caller::here(), tcp_header_info, document_of, ack_num_field, ack_num);
}

int korvane_tcp_header_info_get_window(korvane_tcp_header_info_h tcp_header_info, int *window)
{
    return get_member(Caller::here(), tcp_header_info, document_of, window_field, window);
}

int korvane_tcp_header_info_get_window_scale(korvane_tcp_header_info_h tcp_header_info, int *window_scale)
{
    return get_member(Caller::here(), tcp_header_info, document_of, window_scale_field, window_scale);
}
