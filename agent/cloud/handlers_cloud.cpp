// SPDX-License-Identifier: Apache-2.0
#include "agent/server/handlers.hpp"
#include "token.hpp"

#include <cstring>

namespace kv::virtual_agent {

namespace {

constexpr int done = 0;

// What an answer that comes as an event says.
constexpr int wrong_request = -22;
constexpr int not_found = -2;

int result_of(bool well)
{
    return well ? done : refused;
}

std::string text_of(const CText &text)
{
    return text ? text.get() : "";
}

/// What is told as a document must be one.
std::optional<Json> document_of(const char *text)
{
    if (std::strlen(text) > longest_kept_text)
        return std::nullopt;
    try {
        Json document = Json::parse(text);
        return cJSON_IsObject(document.get()) ? std::optional{std::move(document)} : std::nullopt;
    } catch (const std::invalid_argument &) {
        return std::nullopt;
    }
}

/// Keeps a document for a device number.
int keep(std::map<int, std::string> &kept, int device_no, const char *document)
{
    return result_of(document_of(document) && State::name_device(kept, device_no, document));
}

template <class Records, class Number>
std::vector<int> numbers_of(const Records *records, Number number)
{
    std::vector<int> numbers;
    numbers.reserve(static_cast<std::size_t>(records->present));
    for (int i = 0; i < records->present; ++i)
        numbers.push_back(records->items[i]->*number);
    return numbers;
}

std::string error_text(const char *why)
{
    return Json::object().set("error", why).text();
}

} // namespace

// ---- sign-up and session ---------------------------------------------------------------------------------------------

Answer<master::signup_cloud> Handlers::answer(master::signup_cloud method, Call &,
                                              const rpc_port_korvane_cloud_info_s *info)
{
    note(method, info);
    return {
        result_of(cloud_.sign_up({text_of(info->region), text_of(info->auth_provider), text_of(info->access_token),
                                  text_of(info->refresh_token), text_of(info->user_id), text_of(info->client_id)}))};
}

Answer<master::disconnect_cloud_session> Handlers::answer(master::disconnect_cloud_session, Call &)
{
    return {result_of(cloud_.disconnect())};
}

Answer<master::get_thing_status> Handlers::answer(master::get_thing_status, Call &)
{
    return {done, {state_.thing_status}};
}

Answer<master::get_signup_status> Handlers::answer(master::get_signup_status, Call &)
{
    return {done, {state_.signed_up}};
}

Answer<master::get_signin_status> Handlers::answer(master::get_signin_status, Call &)
{
    return {done, {state_.signed_in}};
}

Answer<master::get_device_owned_status> Handlers::answer(master::get_device_owned_status, Call &)
{
    return {done, {state_.owned}};
}

Answer<master::get_tcp_header_info> Handlers::answer(master::get_tcp_header_info, Call &)
{
    const std::optional<TcpHeader> header = cloud_.tcp_header();
    if (!header)
        return {refused};
    constexpr int ip_version = 4;
    Json told = Json::object();
    told.set("tcp_header_info_ip_version", ip_version)
        .set("tcp_header_info_src_addr", header->src_addr)
        .set("tcp_header_info_src_port", header->src_port)
        .set("tcp_header_info_dst_addr", header->dst_addr)
        .set("tcp_header_info_dst_port", header->dst_port)
        .set("tcp_header_info_seq_num", std::int64_t{header->seq_num})
        .set("tcp_header_info_ack_num", std::int64_t{header->ack_num})
        .set("tcp_header_info_window", header->window)
        .set("tcp_header_info_window_scale", header->window_scale);
    return {done, {told.text()}};
}

// ---- keep-alive and presence -----------------------------------------------------------------------------------------

Answer<master::send_keepalive> Handlers::answer(master::send_keepalive, Call &)
{
    return {result_of(cloud_.send_keep_alive())};
}

Answer<master::set_keepalive_intervals> Handlers::answer(
    master::set_keepalive_intervals method, Call &, const proxy::ArrayValue<master::keepalive_info_array> *intervals)
{
    note(method, intervals);
    return {result_of(cloud_.set_intervals(numbers_of(intervals, &rpc_port_korvane_keepalive_info_s::interval)))};
}

Answer<master::select_keepalive_intervals> Handlers::answer(
    master::select_keepalive_intervals method, Call &,
    const proxy::ArrayValue<master::keepalive_index_info_array> *indexes)
{
    note(method, indexes);
    return {result_of(cloud_.select_intervals(numbers_of(indexes, &rpc_port_korvane_keepalive_index_info_s::index)))};
}

Answer<master::send_presence> Handlers::answer(master::send_presence method, Call &, int presence)
{
    note(method, presence);
    state_.cloud.presence = presence;
    return {};
}

// ---- who the device is -----------------------------------------------------------------------------------------------

Answer<master::set_platform_info> Handlers::answer(master::set_platform_info method, Call &,
                                                   const rpc_port_korvane_platform_info_s *info)
{
    note(method, info);
    Json document = Json::object(); // as newer agents are told it
    document.set("model_number", text_of(info->model_number)).set("p_ver", text_of(info->platform_version));
    return {keep(state_.cloud.platform_infos, 0, document.text().c_str())};
}

Answer<master::set_platform_info_with_device_no> Handlers::answer(master::set_platform_info_with_device_no method,
                                                                  Call &, int device_no, const char *info)
{
    note(method, device_no, info);
    return {keep(state_.cloud.platform_infos, device_no, info)};
}

Answer<master::set_device_profile> Handlers::answer(master::set_device_profile method, Call &, int device_no,
                                                    const char *profile)
{
    note(method, device_no, profile);
    return {keep(state_.cloud.profiles, device_no, profile)};
}

Answer<master::set_last_status_info> Handlers::answer(master::set_last_status_info method, Call &,
                                                      const rpc_port_korvane_last_status_info_s *info)
{
    note(method, info);
    state_.cloud.last_status = LastStatus{info->timestamp, text_of(info->error_code)};
    return {};
}

Answer<master::set_nick_name> Handlers::answer(master::set_nick_name method, Call &, int device_no, const char *nick)
{
    note(method, device_no, nick);
    return {result_of(State::name_device(state_.nicks, device_no, nick))};
}

Answer<master::set_device_name> Handlers::answer(master::set_device_name method, Call &, const char *name)
{
    note(method, name);
    return {result_of(State::name_device(state_.cloud.device_names, 0, name))};
}

Answer<master::set_device_name_with_device_no> Handlers::answer(master::set_device_name_with_device_no method, Call &,
                                                                int device_no, const char *name)
{
    note(method, device_no, name);
    return {result_of(State::name_device(state_.cloud.device_names, device_no, name))};
}

// ---- the terms -------------------------------------------------------------------------------------------------------

Answer<master::set_tnc_data> Handlers::answer(master::set_tnc_data method, Call &, const char *data)
{
    note(method, data);
    if (!document_of(data))
        return {refused};
    state_.cloud.terms.data = data;
    return {};
}

Answer<master::set_tnc_url> Handlers::answer(master::set_tnc_url method, Call &, const char *url)
{
    note(method, url);
    state_.cloud.terms.url = std::string{url}.substr(0, longest_kept_text);
    return {};
}

Answer<master::set_tnc_type> Handlers::answer(master::set_tnc_type method, Call &, int type)
{
    note(method, type);
    state_.cloud.terms.type = type;
    return {};
}

Answer<master::set_tnc_status> Handlers::answer(master::set_tnc_status method, Call &, int status)
{
    note(method, status);
    state_.cloud.terms.status = status;
    return {};
}

// ---- sub-devices and the group ---------------------------------------------------------------------------------------

Answer<master::register_sub_device> Handlers::answer(master::register_sub_device method, Call &, int device_no,
                                                     const char *device_id)
{
    note(method, device_no, device_id);
    const bool known = state_.sub_devices.count(device_no) > 0;
    if (device_no <= 0 || (!known && state_.sub_devices.size() >= most_devices))
        return {refused};
    state_.sub_devices[device_no].device_id = std::string{device_id}.substr(0, longest_shown_text);
    return {};
}

Answer<master::unregister_sub_device> Handlers::answer(master::unregister_sub_device method, Call &, int device_no)
{
    note(method, device_no);
    return {result_of(state_.sub_devices.erase(device_no) > 0)};
}

/// All of them, or none.
Answer<master::set_sub_device_presence> Handlers::answer(master::set_sub_device_presence method, Call &,
                                                         const proxy::ArrayValue<master::int_array> *device_nos,
                                                         bool presence)
{
    note(method, device_nos, presence);
    const std::vector<int> numbers{device_nos->items, device_nos->items + device_nos->present};
    for (int number : numbers)
        if (state_.sub_devices.count(number) == 0)
            return {refused};
    for (int number : numbers)
        state_.sub_devices[number].presence = presence ? 1 : 0;
    return {};
}

Answer<master::get_sub_device_presence> Handlers::answer(master::get_sub_device_presence, Call &)
{
    Json list = Json::array();
    for (const auto &[number, device] : state_.sub_devices)
        list.append(std::move(Json::object().set("di", device.device_id).set("prs", device.presence)));
    return {done, {list.text()}};
}

Answer<master::get_group_id> Handlers::answer(master::get_group_id, Call &call,
                                              const DelegateOf<master::get_group_id_cb> &delegate)
{
    const std::optional<std::string> group = cloud_.group_id();
    if (!group)
        return {refused};
    answer_by_event(call, delegate, group->c_str());
    return {};
}

// ---- certificates and tokens -----------------------------------------------------------------------------------------

Answer<master::create_hdr_token_info> Handlers::answer(master::create_hdr_token_info, Call &call,
                                                       const DelegateOf<master::create_hdr_token_info_cb> &delegate)
{
    answer_by_event(call, delegate, done, new_token(cloud_.authority(), state_.device_id, {}).text().c_str());
    return {};
}

Answer<master::create_hdr_token_info_custom> Handlers::answer(
    master::create_hdr_token_info_custom method, Call &call, const char *request_data,
    const DelegateOf<master::create_hdr_token_info_custom_cb> &delegate)
{
    note(method, request_data, delegate);
    const std::optional<Json> data = document_of(request_data);
    if (!data) {
        answer_by_event(call, delegate, wrong_request, error_text("the request data are no JSON object").c_str());
        return {};
    }
    const Json token = new_token(cloud_.authority(), state_.device_id, *data);
    answer_by_event(call, delegate, done, token.text().c_str());
    return {};
}

Answer<master::create_hdr_certificate> Handlers::answer(master::create_hdr_certificate method, Call &call,
                                                        const char *device_type, const char *csr,
                                                        const DelegateOf<master::create_hdr_certificate_cb> &delegate)
{
    note(method, device_type, csr, delegate);
    try {
        const IssuedCertificate issued = cloud_.authority().issue(state_.device_id, device_type, csr);
        Json told = Json::object();
        told.set("certificate_arn", issued.id).set("certificate", issued.pem).set("chain", issued.chain);
        answer_by_event(call, delegate, done, told.text().c_str());
    } catch (const CertificateRefused &why) {
        answer_by_event(call, delegate, wrong_request, why.what());
    }
    return {};
}

Answer<master::get_hdr_certificate> Handlers::answer(master::get_hdr_certificate method, Call &call,
                                                     const char *device_type, const char *certificate_arn,
                                                     const DelegateOf<master::get_hdr_certificate_cb> &delegate)
{
    note(method, device_type, certificate_arn, delegate);
    if (const auto issued = cloud_.authority().find(certificate_arn)) {
        answer_by_event(call, delegate, done, issued->pem.c_str(), issued->chain.c_str());
    } else {
        const std::string why = std::string{"no certificate was issued with the id '"} + certificate_arn + "'";
        answer_by_event(call, delegate, not_found, why.c_str(), "");
    }
    return {};
}

} // namespace kv::virtual_agent
