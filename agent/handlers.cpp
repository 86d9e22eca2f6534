// SPDX-License-Identifier: Apache-2.0
#include "handlers.hpp"

namespace kv::virtual_agent {

namespace {

constexpr int refused = -1;

const char *token_info = R"({"token":"virtual-agent-token","token_type":"bearer"})";

/// The event comes after the reply. The callback is kept until then, so that the agent's state shows it.
template <class D, class... Values>
void answer_by_event(Call &call, const DelegateOf<D> &delegate, Values... values)
{
    call.peer.keep(delegate);
    call.events.push_back(make_event(delegate, values...));
}

} // namespace

Answer<master::is_update_ready> Handlers::answer(master::is_update_ready, Call &)
{
    return {0, {state_.update_ready}};
}

Answer<master::start> Handlers::answer(master::start, Call &, const char *, int, int)
{
    state_.running = true;
    return {};
}

Answer<master::start_async> Handlers::answer(master::start_async, Call &call, const char *, int, int,
                                             const DelegateOf<master::start_async_cb> &delegate)
{
    state_.running = true;
    answer_by_event(call, delegate, 0);
    return {};
}

Answer<master::stop> Handlers::answer(master::stop, Call &)
{
    state_.running = false;
    return {};
}

Answer<master::set_api_version> Handlers::answer(master::set_api_version, Call &call, int major, int minor, int patch)
{
    call.peer.api_version = {major, minor, patch};
    return {};
}

Answer<master::get_device_id> Handlers::answer(master::get_device_id, Call &)
{
    return {0, {state_.device_id}};
}

Answer<master::get_easysetup_status> Handlers::answer(master::get_easysetup_status, Call &)
{
    return {0, {state_.set_up}};
}

Answer<master::get_device_owned_status> Handlers::answer(master::get_device_owned_status, Call &)
{
    return {0, {state_.owned}};
}

Answer<master::get_thing_status> Handlers::answer(master::get_thing_status, Call &)
{
    return {0, {state_.thing_status}};
}

Answer<master::get_signup_status> Handlers::answer(master::get_signup_status, Call &)
{
    return {0, {state_.signed_up}};
}

Answer<master::get_signin_status> Handlers::answer(master::get_signin_status, Call &)
{
    return {0, {state_.signed_in}};
}

Answer<master::get_tcp_header_info> Handlers::answer(master::get_tcp_header_info, Call &)
{
    Json header = Json::object();
    header.set("tcp_header_info_ip_version", 4)
        .set("tcp_header_info_src_addr", "192.0.2.10")
        .set("tcp_header_info_src_port", 49152)
        .set("tcp_header_info_dst_addr", "198.51.100.20")
        .set("tcp_header_info_dst_port", 443)
        .set("tcp_header_info_seq_num", 1)
        .set("tcp_header_info_ack_num", 1)
        .set("tcp_header_info_window", 502)
        .set("tcp_header_info_window_scale", 7);
    return {0, {header.text()}};
}

Answer<master::register_sub_device> Handlers::answer(master::register_sub_device, Call &, int device_no,
                                                     const char *device_id)
{
    auto known = state_.sub_devices.find(device_no);
    if (known == state_.sub_devices.end() && state_.sub_devices.size() >= most_devices)
        return {refused};
    state_.sub_devices[device_no].device_id = std::string{device_id}.substr(0, longest_shown_text);
    return {};
}

Answer<master::unregister_sub_device> Handlers::answer(master::unregister_sub_device, Call &, int device_no)
{
    return {state_.sub_devices.erase(device_no) > 0 ? 0 : refused};
}

Answer<master::set_sub_device_presence> Handlers::answer(master::set_sub_device_presence, Call &,
                                                         const proxy::ArrayValue<master::int_array> *device_nos,
                                                         bool presence)
{
    for (int i = 0; i < device_nos->present; ++i) {
        auto known = state_.sub_devices.find(device_nos->items[i]);
        if (known == state_.sub_devices.end())
            return {refused};
        known->second.presence = presence ? 1 : 0;
    }
    return {};
}

Answer<master::get_sub_device_presence> Handlers::answer(master::get_sub_device_presence, Call &)
{
    Json list = Json::array();
    for (const auto &[number, device] : state_.sub_devices)
        list.append(std::move(Json::object().set("di", device.device_id).set("prs", device.presence)));
    return {0, {list.text()}};
}

Answer<master::get_group_id> Handlers::answer(master::get_group_id, Call &call,
                                              const DelegateOf<master::get_group_id_cb> &delegate)
{
    answer_by_event(call, delegate, "virtual-agent-group");
    return {};
}

Answer<master::create_hdr_token_info> Handlers::answer(master::create_hdr_token_info, Call &call,
                                                       const DelegateOf<master::create_hdr_token_info_cb> &delegate)
{
    answer_by_event(call, delegate, 0, token_info);
    return {};
}

Answer<master::create_hdr_token_info_custom> Handlers::answer(
    master::create_hdr_token_info_custom, Call &call, const char *,
    const DelegateOf<master::create_hdr_token_info_custom_cb> &delegate)
{
    answer_by_event(call, delegate, 0, token_info);
    return {};
}

Answer<master::create_hdr_certificate> Handlers::answer(master::create_hdr_certificate, Call &call, const char *,
                                                        const char *,
                                                        const DelegateOf<master::create_hdr_certificate_cb> &delegate)
{
    answer_by_event(call, delegate, 0, "virtual-agent-certificate");
    return {};
}

Answer<master::get_hdr_certificate> Handlers::answer(master::get_hdr_certificate, Call &call, const char *,
                                                     const char *,
                                                     const DelegateOf<master::get_hdr_certificate_cb> &delegate)
{
    answer_by_event(call, delegate, 0, "virtual-agent-certificate", "virtual-agent-key");
    return {};
}

} // namespace kv::virtual_agent
