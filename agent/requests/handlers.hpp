// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/request_handler.hpp"
#include "device.hpp"

#include <tuple>
#include <type_traits>

namespace kv::virtual_agent {

namespace detail {

template <class D, class... Listed>
consteval bool is_listed(describe::List<Listed...>)
{
    return (std::is_same_v<D, Listed> || ...);
}

} // namespace detail

/// Methods whose arguments are only kept for `state`.
using OnlyKept = describe::List<master::set_regist_set_device, master::set_sso_list>;

namespace detail {

template <class M, class... Event>
consteval bool is_set(describe::List<Event...>)
{
    return (std::is_same_v<M, typename Event::set> || ...);
}

template <class M, class... Event>
consteval bool is_unset(describe::List<Event...>)
{
    return (std::is_same_v<M, typename Event::unset> || ...);
}

/// Removes the delegates that the set method has registered.
template <class... D>
void remove(Peer &peer, describe::In<describe::Callback<D>...>)
{
    (peer.delegates.erase(D::id), ...);
}

} // namespace detail

/// Completes a one-shot request by an event that is sent after the reply. Until then the delegate is kept, so that
/// `state` shows it.
template <class D, class... Values>
void complete_by_event(Call &call, const DelegateOf<D> &delegate, Values... values)
{
    call.peer.keep(delegate);
    call.events.push_back(make_event(delegate, values...));
}

/// The return value of a handler: the agent's result and the out values, which are empty or 0 by default.
template <class M, class Outs = typename M::out>
struct Result;

template <class M, class... O>
struct Result<M, describe::Out<O...>> {
    int result = 0;
    std::tuple<typename OutValue<O>::Type...> outs{};
};

/// Serves each request: one overload of handle() per method, selected by the type of its description.
/// A method without an overload does not compile.
class Handlers final : public RequestHandler {
public:
    explicit Handlers(const Device &device)
        : device_(device), state_(device.state), phone_(device.phone), cloud_(device.cloud)
    {
    }

    template <class M, class... Arguments>
    requires(detail::is_listed<M>(OnlyKept{})) Result<M> handle(M method, Call &, const Arguments &...arguments)
    {
        keep(method, arguments...);
        return {};
    }

    template <class M, class... Delegates>
    requires(detail::is_set<M>(master::Events{})) Result<M> handle(M, Call &call, const Delegates &...delegates)
    {
        (call.peer.keep(delegates), ...);
        return {};
    }

    template <class M>
    requires(detail::is_unset<M>(master::Events{})) Result<M> handle(M, Call &call)
    {
        describe::for_each(master::Events{}, [&]<class Event>() {
            if constexpr (std::is_same_v<M, typename Event::unset>)
                detail::remove(call.peer, typename Event::set::in{});
        });
        return {};
    }

    /// Decodes the arguments, calls the overload of the method and encodes the reply.
    Served serve(const MethodEntry &method, Call &call, rpc_port_parcel_h request, const Deviation &deviation) override;

    // The service.
    Result<master::is_update_ready> handle(master::is_update_ready, Call &);
    Result<master::start> handle(master::start, Call &, const char *name, int mode, int flags);
    Result<master::start_async> handle(master::start_async, Call &, const char *name, int mode, int flags,
                                       const DelegateOf<master::start_async_cb> &);
    Result<master::stop> handle(master::stop, Call &);
    Result<master::set_api_version> handle(master::set_api_version, Call &, int major, int minor, int patch);

    Result<master::get_device_id> handle(master::get_device_id, Call &);
    Result<master::get_easysetup_status> handle(master::get_easysetup_status, Call &);
    Result<master::common_interface> handle(master::common_interface, Call &, const char *request);

    // The setup: replies of the device to the phone, and what it reports about itself.
    Result<master::send_user_confirm> handle(master::send_user_confirm, Call &, bool confirm);
    Result<master::send_reset_confirm> handle(master::send_reset_confirm, Call &, bool confirm);
    Result<master::reset> handle(master::reset, Call &);
    Result<master::send_ap_list> handle(master::send_ap_list, Call &, int request,
                                        const master::ArrayValue<master::ap_info_array> *networks);
    Result<master::set_wifi_connection_error_code> handle(master::set_wifi_connection_error_code, Call &, int code);
    Result<master::send_provisioning_language_setting_result> handle(master::send_provisioning_language_setting_result,
                                                                     Call &, int request, bool applied);
    Result<master::set_language_list> handle(master::set_language_list, Call &,
                                             const master::ArrayValue<master::language_info_array> *languages);
    Result<master::set_device_property> handle(master::set_device_property, Call &, const char *name, int wifi_mode,
                                               int wifi_freq);
    Result<master::set_preconfigured_pin> handle(master::set_preconfigured_pin, Call &, const char *pin);
    Result<master::set_random_pin> handle(master::set_random_pin, Call &, const char *pin);
    Result<master::unset_random_pin> handle(master::unset_random_pin, Call &);
    Result<master::set_provisioning_vendor_info> handle(master::set_provisioning_vendor_info, Call &, const char *info);
    Result<master::set_easysetup_version_info> handle(master::set_easysetup_version_info, Call &, const char *info);
    Result<master::set_mot_status> handle(master::set_mot_status, Call &, bool enable);
    Result<master::set_gatt_ble> handle(master::set_gatt_ble, Call &, bool enable);

    // The cloud: sign-up and session.
    Result<master::signup_cloud> handle(master::signup_cloud, Call &, const rpc_port_korvane_cloud_info_s *info);
    Result<master::disconnect_cloud_session> handle(master::disconnect_cloud_session, Call &);
    Result<master::get_thing_status> handle(master::get_thing_status, Call &);
    Result<master::get_signup_status> handle(master::get_signup_status, Call &);
    Result<master::get_signin_status> handle(master::get_signin_status, Call &);
    Result<master::get_device_owned_status> handle(master::get_device_owned_status, Call &);
    Result<master::get_tcp_header_info> handle(master::get_tcp_header_info, Call &);

    // Keep-alive and presence.
    Result<master::send_keepalive> handle(master::send_keepalive, Call &);
    Result<master::set_keepalive_intervals> handle(master::set_keepalive_intervals, Call &,
                                                   const master::ArrayValue<master::keepalive_info_array> *intervals);
    Result<master::select_keepalive_intervals> handle(
        master::select_keepalive_intervals, Call &,
        const master::ArrayValue<master::keepalive_index_info_array> *indexes);
    Result<master::send_presence> handle(master::send_presence, Call &, int presence);

    // The identity of the device.
    Result<master::set_platform_info> handle(master::set_platform_info, Call &,
                                             const rpc_port_korvane_platform_info_s *info);
    Result<master::set_platform_info_with_device_no> handle(master::set_platform_info_with_device_no, Call &,
                                                            int device_no, const char *info);
    Result<master::set_device_profile> handle(master::set_device_profile, Call &, int device_no, const char *profile);
    Result<master::set_last_status_info> handle(master::set_last_status_info, Call &,
                                                const rpc_port_korvane_last_status_info_s *info);
    Result<master::set_nick_name> handle(master::set_nick_name, Call &, int device_no, const char *nick);
    Result<master::set_device_name> handle(master::set_device_name, Call &, const char *name);
    Result<master::set_device_name_with_device_no> handle(master::set_device_name_with_device_no, Call &, int device_no,
                                                          const char *name);

    // The terms.
    Result<master::set_tnc_data> handle(master::set_tnc_data, Call &, const char *data);
    Result<master::set_tnc_url> handle(master::set_tnc_url, Call &, const char *url);
    Result<master::set_tnc_type> handle(master::set_tnc_type, Call &, int type);
    Result<master::set_tnc_status> handle(master::set_tnc_status, Call &, int status);

    // Sub-devices.
    Result<master::register_sub_device> handle(master::register_sub_device, Call &, int device_no,
                                               const char *device_id);
    Result<master::unregister_sub_device> handle(master::unregister_sub_device, Call &, int device_no);
    Result<master::set_sub_device_presence> handle(master::set_sub_device_presence, Call &,
                                                   const master::ArrayValue<master::int_array> *device_nos,
                                                   bool presence);
    Result<master::get_sub_device_presence> handle(master::get_sub_device_presence, Call &);

    // One-shot requests.
    Result<master::get_group_id> handle(master::get_group_id, Call &, const DelegateOf<master::get_group_id_cb> &);
    Result<master::create_hdr_token_info> handle(master::create_hdr_token_info, Call &,
                                                 const DelegateOf<master::create_hdr_token_info_cb> &);
    Result<master::create_hdr_token_info_custom> handle(master::create_hdr_token_info_custom, Call &,
                                                        const char *request_data,
                                                        const DelegateOf<master::create_hdr_token_info_custom_cb> &);
    Result<master::create_hdr_certificate> handle(master::create_hdr_certificate, Call &, const char *device_type,
                                                  const char *csr,
                                                  const DelegateOf<master::create_hdr_certificate_cb> &);
    Result<master::get_hdr_certificate> handle(master::get_hdr_certificate, Call &, const char *device_type,
                                               const char *certificate_arn,
                                               const DelegateOf<master::get_hdr_certificate_cb> &);

private:
    /// Keeps the arguments of a request for `state`.
    template <class M, class... Arguments>
    void keep(M, const Arguments &...arguments)
    {
        state_.cloud.keep(M::name, Shown::values(typename M::in{}, arguments...));
    }

    Device device_;
    State &state_; // the same as device_.state, which most handlers use
    Phone &phone_;
    Cloud &cloud_;
};

} // namespace kv::virtual_agent
