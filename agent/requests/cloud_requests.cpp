// SPDX-License-Identifier: Apache-2.0
#include "agent/cloud/token.hpp"
#include "handlers.hpp"
#include "values.hpp"

namespace kv::virtual_agent {

namespace {

// Results that the event of a one-shot request carries.
constexpr int wrong_request = -22;
constexpr int not_found = -2;

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

Result<master::signup_cloud> Handlers::handle(master::signup_cloud method, Call &,
                                              const rpc_port_korvane_cloud_info_s *info)
{
    keep(method, info);
    return {
        result_of(cloud_.sign_up({text_of(info->region), text_of(info->auth_provider), text_of(info->access_token),
                                  text_of(info->refresh_token), text_of(info->user_id), text_of(info->client_id)}))};
}

Result<master::disconnect_cloud_session> Handlers::handle(master::disconnect_cloud_session, Call &)
{
    return {result_of(cloud_.disconnect())};
}

Result<master::get_thing_status> Handlers::handle(master::get_thing_status, Call &)
{
    return {done, {state_.thing_status}};
}

Result<master::get_signup_status> Handlers::handle(master::get_signup_status, Call &)
{
    return {done, {state_.signed_up}};
}

Result<master::get_signin_status> Handlers::handle(master::get_signin_status, Call &)
{
    return {done, {state_.signed_in}};
}

Result<master::get_device_owned_status> Handlers::handle(master::get_device_owned_status, Call &)
{
    return {done, {state_.owned}};
}

Result<master::get_tcp_header_info> Handlers::handle(master::get_tcp_header_info, Call &)
{
    const std::optional<TcpHeader> header = cloud_.tcp_header();
    if (!header)
        return {refused};
    constexpr int ip_version = 4;
    Json header_info = Json::object();
    header_info.set("tcp_header_info_ip_version", ip_version)
        .set("tcp_header_info_src_addr", header->src_addr)
        .set("tcp_header_info_src_port", header->src_port)
        .set("tcp_header_info_dst_addr", header->dst_addr)
        .set("tcp_header_info_dst_port", header->dst_port)
        .set("tcp_header_info_seq_num", std::int64_t{header->seq_num})
        .set("tcp_header_info_ack_num", std::int64_t{header->ack_num})
        .set("tcp_header_info_window", header->window)
        .set("tcp_header_info_window_scale", header->window_scale);
    return {done, {header_info.text()}};
}

// ---- keep-alive ------------------------------------------------------------------------------------------------------

Result<master::send_keepalive> Handlers::handle(master::send_keepalive, Call &)
{
    return {result_of(cloud_.send_keep_alive())};
}

Result<master::set_keepalive_intervals> Handlers::handle(
    master::set_keepalive_intervals method, Call &, const master::ArrayValue<master::keepalive_info_array> *intervals)
{
    keep(method, intervals);
    return {result_of(cloud_.set_intervals(numbers_of(intervals, &rpc_port_korvane_keepalive_info_s::interval)))};
}

Result<master::select_keepalive_intervals> Handlers::handle(
    master::select_keepalive_intervals method, Call &,
    const master::ArrayValue<master::keepalive_index_info_array> *indexes)
{
    keep(method, indexes);
    return {result_of(cloud_.select_intervals(numbers_of(indexes, &rpc_port_korvane_keepalive_index_info_s::index)))};
}

// ---- group -----------------------------------------------------------------------------------------------------------

Result<master::get_group_id> Handlers::handle(master::get_group_id, Call &call,
                                              const DelegateOf<master::get_group_id_cb> &delegate)
{
    const std::optional<std::string> group = cloud_.group_id();
    if (!group)
        return {refused};
    complete_by_event(call, delegate, group->c_str());
    return {};
}

// ---- certificates and tokens -----------------------------------------------------------------------------------------

Result<master::create_hdr_token_info> Handlers::handle(master::create_hdr_token_info, Call &call,
                                                       const DelegateOf<master::create_hdr_token_info_cb> &delegate)
{
    complete_by_event(call, delegate, done, new_token(cloud_.authority(), state_.device_id, {}).text().c_str());
    return {};
}

Result<master::create_hdr_token_info_custom> Handlers::handle(
    master::create_hdr_token_info_custom method, Call &call, const char *request_data,
    const DelegateOf<master::create_hdr_token_info_custom_cb> &delegate)
{
    keep(method, request_data, delegate);
    const std::optional<Json> data = document_of(request_data);
    if (!data) {
        complete_by_event(call, delegate, wrong_request, error_text("the request data are not a JSON object").c_str());
        return {};
    }
    const Json token = new_token(cloud_.authority(), state_.device_id, *data);
    complete_by_event(call, delegate, done, token.text().c_str());
    return {};
}

Result<master::create_hdr_certificate> Handlers::handle(master::create_hdr_certificate method, Call &call,
                                                        const char *device_type, const char *csr,
                                                        const DelegateOf<master::create_hdr_certificate_cb> &delegate)
{
    keep(method, device_type, csr, delegate);
    try {
        const IssuedCertificate issued = cloud_.authority().issue(state_.device_id, device_type, csr);
        Json shown = Json::object();
        shown.set("certificate_arn", issued.id).set("certificate", issued.pem).set("chain", issued.chain);
        complete_by_event(call, delegate, done, shown.text().c_str());
    } catch (const CertificateRefused &why) {
        complete_by_event(call, delegate, wrong_request, why.what());
    }
    return {};
}

Result<master::get_hdr_certificate> Handlers::handle(master::get_hdr_certificate method, Call &call,
                                                     const char *device_type, const char *certificate_arn,
                                                     const DelegateOf<master::get_hdr_certificate_cb> &delegate)
{
    keep(method, device_type, certificate_arn, delegate);
    const auto issued = cloud_.authority().find(certificate_arn);
    if (!issued) {
        const std::string why = std::string{"no certificate was issued with the id '"} + certificate_arn + "'";
        complete_by_event(call, delegate, not_found, why.c_str(), "");
    } else if (issued->validity != Validity::valid) {
        const char *why =
            issued->validity == Validity::revoked ? "the certificate was revoked" : "the certificate has expired";
        complete_by_event(call, delegate, static_cast<int>(issued->validity), why, "");
    } else {
        complete_by_event(call, delegate, done, issued->pem.c_str(), issued->chain.c_str());
    }
    return {};
}

} // namespace kv::virtual_agent
