// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/device.hpp"
#include "stub.hpp"

#include <type_traits>

namespace kv::virtual_agent {

namespace detail {

template <class D, class... Listed>
consteval bool is_listed(describe::List<Listed...>)
{
    return (std::is_same_v<D, Listed> || ...);
}

/// The method that gives callbacks, and the one that takes them back.
template <class Set, class Unset>
struct Pair {
    using set = Set;
    using unset = Unset;
};

} // namespace detail

// A list each
// clang-format off
using Registrations =
    describe::List<detail::Pair<master::set_status_changed_cb, master::unset_status_changed_cb>,
                   detail::Pair<master::set_user_confirm_cb, master::unset_user_confirm_cb>,
                   detail::Pair<master::set_reset_confirm_cb, master::unset_reset_confirm_cb>,
                   detail::Pair<master::set_reset_result_cb, master::unset_reset_result_cb>,
                   detail::Pair<master::set_pin_cb, master::unset_pin_cb>,
                   detail::Pair<master::set_wifi_ap_provisioning_cb, master::unset_wifi_ap_provisioning_cb>,
                   detail::Pair<master::set_device_provisioning_cb, master::unset_device_provisioning_cb>,
                   detail::Pair<master::set_scan_ap_cb, master::unset_scan_ap_cb>,
                   detail::Pair<master::set_softap_stop_cb, master::unset_softap_stop_cb>,
                   detail::Pair<master::set_ultrasound_pin_cb, master::unset_ultrasound_pin_cb>,
                   detail::Pair<master::set_cloud_device_list_cb, master::unset_cloud_device_list_cb>,
                   detail::Pair<master::set_otm_support_feature_cb, master::unset_otm_support_feature_cb>,
                   detail::Pair<master::set_provisioning_vendor_info_cb, master::unset_provisioning_vendor_info_cb>,
                   detail::Pair<master::set_provisioning_language_cb, master::unset_provisioning_language_cb>,
                   detail::Pair<master::set_tnc_result_cb, master::unset_tnc_result_cb>,
                   detail::Pair<master::set_wifi_ap_provisioning_cb_v2, master::unset_wifi_ap_provisioning_cb_v2>,
                   detail::Pair<master::set_nick_changed_cb, master::unset_nick_changed_cb>,
                   detail::Pair<master::set_last_status_changed_cb, master::unset_last_status_changed_cb>,
                   detail::Pair<master::set_keepalive_result_cb, master::unset_keepalive_result_cb>,
                   detail::Pair<master::set_signup_status_changed_cb, master::unset_signup_status_changed_cb>,
                   detail::Pair<master::set_signin_status_changed_cb, master::unset_signin_status_changed_cb>,
                   detail::Pair<master::set_tcp_session_disconnected_cb, master::unset_tcp_session_disconnected_cb>,
                   detail::Pair<master::set_provisioning_get_requested_cb, master::unset_provisioning_get_requested_cb>,
                   detail::Pair<master::set_diagnostics_cb, master::unset_diagnostics_cb>>;

/// Of these nothing is needed but what they tell.
using MerelyTold = describe::List<master::set_regist_set_device, master::set_sso_list>;
// clang-format on

namespace detail {

template <class M, class... P>
consteval bool is_set(describe::List<P...>)
{
    return (std::is_same_v<M, typename P::set> || ...);
}

template <class M, class... P>
consteval bool is_unset(describe::List<P...>)
{
    return (std::is_same_v<M, typename P::unset> || ...);
}

/// Forgets what the method's arguments had registered.
template <class... D>
void forget(Peer &peer, describe::In<describe::Callback<D>...>)
{
    (peer.delegates.erase(D::id), ...);
}

} // namespace detail

/// The event comes after the reply. The callback is kept until then, so that the agent's state shows it.
template <class D, class... Values>
void answer_by_event(Call &call, const DelegateOf<D> &delegate, Values... values)
{
    call.peer.keep(delegate);
    call.events.push_back(make_event(delegate, values...));
}

/// What the agent answers: one function per method, chosen by the method's description. A method for which there is
/// none does not compile.
class Handlers {
public:
    explicit Handlers(const Device &device)
        : device_(device), state_(device.state), phone_(device.phone), cloud_(device.cloud)
    {
    }

    template <class M, class... Arguments>
    requires(detail::is_listed<M>(MerelyTold{})) Answer<M> answer(M method, Call &, const Arguments &...arguments)
    {
        note(method, arguments...);
        return {};
    }

    template <class M, class... Delegates>
    requires(detail::is_set<M>(Registrations{})) Answer<M> answer(M, Call &call, const Delegates &...delegates)
    {
        (call.peer.keep(delegates), ...);
        return {};
    }

    template <class M>
    requires(detail::is_unset<M>(Registrations{})) Answer<M> answer(M, Call &call)
    {
        describe::for_each(Registrations{}, [&]<class P>() {
            if constexpr (std::is_same_v<M, typename P::unset>)
                detail::forget(call.peer, typename P::set::in{});
        });
        return {};
    }

    // The service.
    Answer<master::is_update_ready> answer(master::is_update_ready, Call &);
    Answer<master::start> answer(master::start, Call &, const char *name, int mode, int flags);
    Answer<master::start_async> answer(master::start_async, Call &, const char *name, int mode, int flags,
                                       const DelegateOf<master::start_async_cb> &);
    Answer<master::stop> answer(master::stop, Call &);
    Answer<master::set_api_version> answer(master::set_api_version, Call &, int major, int minor, int patch);

    Answer<master::get_device_id> answer(master::get_device_id, Call &);
    Answer<master::get_easysetup_status> answer(master::get_easysetup_status, Call &);
    Answer<master::common_interface> answer(master::common_interface, Call &, const char *request);

    // The setup: what the device answers the phone, and tells of itself.
    Answer<master::send_user_confirm> answer(master::send_user_confirm, Call &, bool confirm);
    Answer<master::send_reset_confirm> answer(master::send_reset_confirm, Call &, bool confirm);
    Answer<master::reset> answer(master::reset, Call &);
    Answer<master::send_ap_list> answer(master::send_ap_list, Call &, int request,
                                        const proxy::ArrayValue<master::ap_info_array> *networks);
    Answer<master::set_wifi_connection_error_code> answer(master::set_wifi_connection_error_code, Call &, int code);
    Answer<master::send_provisioning_language_setting_result> answer(master::send_provisioning_language_setting_result,
                                                                     Call &, int request, bool taken_up);
    Answer<master::set_language_list> answer(master::set_language_list, Call &,
                                             const proxy::ArrayValue<master::language_info_array> *languages);
    Answer<master::set_device_property> answer(master::set_device_property, Call &, const char *name, int wifi_mode,
                                               int wifi_freq);
    Answer<master::set_preconfigured_pin> answer(master::set_preconfigured_pin, Call &, const char *pin);
    Answer<master::set_random_pin> answer(master::set_random_pin, Call &, const char *pin);
    Answer<master::unset_random_pin> answer(master::unset_random_pin, Call &);
    Answer<master::set_provisioning_vendor_info> answer(master::set_provisioning_vendor_info, Call &, const char *info);
    Answer<master::set_easysetup_version_info> answer(master::set_easysetup_version_info, Call &, const char *info);
    Answer<master::set_mot_status> answer(master::set_mot_status, Call &, bool enable);
    Answer<master::set_gatt_ble> answer(master::set_gatt_ble, Call &, bool enable);

    // The cloud: sign-up and session.
    Answer<master::signup_cloud> answer(master::signup_cloud, Call &, const rpc_port_korvane_cloud_info_s *info);
    Answer<master::disconnect_cloud_session> answer(master::disconnect_cloud_session, Call &);
    Answer<master::get_thing_status> answer(master::get_thing_status, Call &);
    Answer<master::get_signup_status> answer(master::get_signup_status, Call &);
    Answer<master::get_signin_status> answer(master::get_signin_status, Call &);
    Answer<master::get_device_owned_status> answer(master::get_device_owned_status, Call &);
    Answer<master::get_tcp_header_info> answer(master::get_tcp_header_info, Call &);

    // Keep-alive and presence.
    Answer<master::send_keepalive> answer(master::send_keepalive, Call &);
    Answer<master::set_keepalive_intervals> answer(master::set_keepalive_intervals, Call &,
                                                   const proxy::ArrayValue<master::keepalive_info_array> *intervals);
    Answer<master::select_keepalive_intervals> answer(
        master::select_keepalive_intervals, Call &,
        const proxy::ArrayValue<master::keepalive_index_info_array> *indexes);
    Answer<master::send_presence> answer(master::send_presence, Call &, int presence);

    // Who the device is.
    Answer<master::set_platform_info> answer(master::set_platform_info, Call &,
                                             const rpc_port_korvane_platform_info_s *info);
    Answer<master::set_platform_info_with_device_no> answer(master::set_platform_info_with_device_no, Call &,
                                                            int device_no, const char *info);
    Answer<master::set_device_profile> answer(master::set_device_profile, Call &, int device_no, const char *profile);
    Answer<master::set_last_status_info> answer(master::set_last_status_info, Call &,
                                                const rpc_port_korvane_last_status_info_s *info);
    Answer<master::set_nick_name> answer(master::set_nick_name, Call &, int device_no, const char *nick);
    Answer<master::set_device_name> answer(master::set_device_name, Call &, const char *name);
    Answer<master::set_device_name_with_device_no> answer(master::set_device_name_with_device_no, Call &, int device_no,
                                                          const char *name);

    // The terms.
    Answer<master::set_tnc_data> answer(master::set_tnc_data, Call &, const char *data);
    Answer<master::set_tnc_url> answer(master::set_tnc_url, Call &, const char *url);
    Answer<master::set_tnc_type> answer(master::set_tnc_type, Call &, int type);
    Answer<master::set_tnc_status> answer(master::set_tnc_status, Call &, int status);

    // Sub-devices.
    Answer<master::register_sub_device> answer(master::register_sub_device, Call &, int device_no,
                                               const char *device_id);
    Answer<master::unregister_sub_device> answer(master::unregister_sub_device, Call &, int device_no);
    Answer<master::set_sub_device_presence> answer(master::set_sub_device_presence, Call &,
                                                   const proxy::ArrayValue<master::int_array> *device_nos,
                                                   bool presence);
    Answer<master::get_sub_device_presence> answer(master::get_sub_device_presence, Call &);

    // Requests that are answered by an event.
    Answer<master::get_group_id> answer(master::get_group_id, Call &, const DelegateOf<master::get_group_id_cb> &);
    Answer<master::create_hdr_token_info> answer(master::create_hdr_token_info, Call &,
                                                 const DelegateOf<master::create_hdr_token_info_cb> &);
    Answer<master::create_hdr_token_info_custom> answer(master::create_hdr_token_info_custom, Call &,
                                                        const char *request_data,
                                                        const DelegateOf<master::create_hdr_token_info_custom_cb> &);
    Answer<master::create_hdr_certificate> answer(master::create_hdr_certificate, Call &, const char *device_type,
                                                  const char *csr,
                                                  const DelegateOf<master::create_hdr_certificate_cb> &);
    Answer<master::get_hdr_certificate> answer(master::get_hdr_certificate, Call &, const char *device_type,
                                               const char *certificate_arn,
                                               const DelegateOf<master::get_hdr_certificate_cb> &);

private:
    /// Keeps what a request tells, so that all of a kind can be read back.
    template <class M, class... Arguments>
    void note(M, const Arguments &...arguments)
    {
        state_.cloud.remember(M::name, show_all(typename M::in{}, arguments...));
    }

    Device device_;
    State &state_; // the device's, which most of it is about
    Phone &phone_;
    Cloud &cloud_;
};

} // namespace kv::virtual_agent
