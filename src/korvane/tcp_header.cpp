// SPDX-License-Identifier: Apache-2.0
#include "json_members.hpp"

using namespace kv;
using namespace kv::api;

/// What the agent told of its connection, once.
struct korvane_tcp_header_info_s {
    Json document;
};

namespace {

const cJSON *document_of(korvane_tcp_header_info_h handle)
{
    return handle->document.get();
}

template <FixedText Name, class Out>
int get_field(Caller caller, korvane_tcp_header_info_h handle, Out *out)
{
    return get_member<concat<"tcp_header_info_", Name>, Name, since(1, 4), document_of>(caller, handle, out);
}

} // namespace

int korvane_get_tcp_header_info(korvane_h handle, korvane_tcp_header_info_h *tcp_header_info)
{
    AgentCall call{handle, since(1, 4)};
    if (!call.require_given(tcp_header_info, "tcp_header_info_h").ready())
        return call.result();

    // Applications release what they find here after a failure, too.
    *tcp_header_info = nullptr;
    proxy::Owned<korvane_tcp_header_info_s> info{proxy::make_zeroed<korvane_tcp_header_info_s>()};
    if (!call.require(bool(info), KORVANE_ERROR_OUT_OF_MEMORY, "_tcp_header_info_s is NULL"_fmt).passed())
        return call.result();

    CText text;
    if (int code = call.invoke<master::get_tcp_header_info>(text.out()))
        return code;
    info->document.reset(cJSON_Parse(text.get()));
    if (call.require(cJSON_IsObject(info->document.get()), KORVANE_ERROR_OPERATION_FAILED, "cJSON_Parse() failed"_fmt)
            .passed())
        *tcp_header_info = info.release();
    return call.result();
}

int korvane_release_tcp_header_info(korvane_tcp_header_info_h tcp_header_info)
{
    LocalCall call{tcp_header_info, since(1, 4)};
    if (call.passed())
        proxy::destroy(tcp_header_info);
    return call.result();
}

int korvane_tcp_header_info_get_ip_version(korvane_tcp_header_info_h tcp_header_info, int *ip_version)
{
    return get_field<"ip_version">(Caller::here(), tcp_header_info, ip_version);
}

int korvane_tcp_header_info_get_src_addr(korvane_tcp_header_info_h tcp_header_info, char **src_addr)
{
    return get_field<"src_addr">(Caller::here(), tcp_header_info, src_addr);
}

int korvane_tcp_header_info_get_src_port(korvane_tcp_header_info_h tcp_header_info, int *src_port)
{
    return get_field<"src_port">(Caller::here(), tcp_header_info, src_port);
}

int korvane_tcp_header_info_get_dst_addr(korvane_tcp_header_info_h tcp_header_info, char **dst_addr)
{
    return get_field<"dst_addr">(Caller::here(), tcp_header_info, dst_addr);
}

int korvane_tcp_header_info_get_dst_port(korvane_tcp_header_info_h tcp_header_info, int *dst_port)
{
    return get_field<"dst_port">(Caller::here(), tcp_header_info, dst_port);
}

int korvane_tcp_header_info_get_seq_num(korvane_tcp_header_info_h tcp_header_info, int *seq_num)
{
    return get_field<"seq_num">(Caller::here(), tcp_header_info, seq_num);
}

int korvane_tcp_header_info_get_ack_num(korvane_tcp_header_info_h tcp_header_info, int *ack_num)
{
    return get_field<"ack_num">(Caller::here(), tcp_header_info, ack_num);
}

int korvane_tcp_header_info_get_window(korvane_tcp_header_info_h tcp_header_info, int *window)
{
    return get_field<"window">(Caller::here(), tcp_header_info, window);
}

int korvane_tcp_header_info_get_window_scale(korvane_tcp_header_info_h tcp_header_info, int *window_scale)
{
    return get_field<"window_scale">(Caller::here(), tcp_header_info, window_scale);
}
