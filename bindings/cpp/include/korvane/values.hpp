// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_VALUES_HPP
#define KORVANE_VALUES_HPP

#include "call.hpp"

/// Lists and records that an application sends: plain values, copied into handles of the library for the call only. A member
/// without a value is not sent.
namespace korvane {

/// The treatment of a member that the installed agent is too old for.
enum class IfTooOld {
    fail,      ///< The call fails with Errc::agent_version_lower and sends nothing.
    leave_out, ///< The call sends the other members.
};

/// One access point that the device sees, for Device::send_ap_list(). Units and codings are agent-defined.
struct AccessPoint {
    std::optional<std::string> ssid{};  ///< network name, any bytes but NUL
    std::optional<std::string> bssid{}; ///< hardware address as text
    std::optional<int> authtype{};
    std::optional<int> enctype{};
    std::optional<int> channel{};
    std::optional<int> signal_level{};
    std::optional<int> max_rate{};
    std::optional<int> frequency{}; ///< agents from 2.3 on
};

/// Credentials for Device::sign_up_cloud().
struct CloudInfo {
    std::optional<std::string> region{};
    std::optional<std::string> auth_provider{};
    std::optional<std::string> access_token{};  ///< a secret
    std::optional<std::string> refresh_token{}; ///< a secret
    std::optional<std::string> user_id{};
    std::optional<std::string> client_id{};
    std::optional<std::string> cloud_interface_server{}; ///< agents from 2.0 on
    std::optional<std::string> deploy_environment{};     ///< agents from 2.0 on
    std::optional<unsigned> token_type{};                ///< agents from 2.0 on
};

/// The device's model and software, for Device::set_platform_info().
struct PlatformInfo {
    std::optional<std::string> model_number{};
    std::optional<std::string> platform_version{};
    std::optional<std::string> vendor_id{};        ///< agents from 1.2 on
    std::optional<std::string> manufacture_date{}; ///< agents from 1.4 on
    std::optional<std::string> firmware_version{}; ///< agents from 1.4 on
};

/// The device's last status, for Device::set_last_status_info().
struct LastStatusInfo {
    int timestamp = 0; ///< unit and origin are agent-defined
    std::optional<std::string> error_code{};
};

/// The device's profile, for Device::set_device_profile_info().
struct DeviceProfileInfo {
    std::optional<std::string> nick{};
    std::optional<std::string> locale{};
    std::optional<std::string> push_reg_id{};
    std::optional<std::string> push_app_id{};
    std::optional<std::string> push_provider{};
    std::optional<std::string> serial_number{}; ///< agents from 2.0 on
};

/// The device's terms and conditions, for Device::set_tnc_info().
struct TncInfo {
    std::optional<std::string> version{};
    std::optional<std::string> header{};
};

namespace detail {

/// Owns a handle of the library. The library refuses to destroy one while no agent is installed; the handle then leaks,
/// because nothing else can release it.
template <class T, auto Create, auto Destroy>
class Handle {
public:
    template <class... Size>
    explicit Handle(Size... size) : created_(Create(&handle_, size...))
    {
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    ~Handle()
    {
        if (handle_)
            Destroy(handle_);
    }

    T get() const noexcept { return handle_; }
    Result<void> created() const noexcept { return outcome<Create>(created_); }

private:
    T handle_ = nullptr;
    int created_;
};

/// Fills a handle member by member. After the first failure it does nothing.
template <class T>
class Filling {
public:
    Filling(T handle, Result<void> status, IfTooOld if_too_old)
        : handle_(handle), status_(status), if_too_old_(if_too_old)
    {
    }

    /// Calls Setter, unless the member has no value. `at` is the index of the element in a list, if the setter takes one.
    template <auto Setter, class Member, class... Index>
    Filling &set(const std::optional<Member> &member, Index... at)
    {
        if (!member || !status_)
            return *this;
        status_ = call<Setter>(handle_, at..., *member);
        if (status_.code() == KORVANE_ERROR_AGENT_VERSION_LOWER && if_too_old_ == IfTooOld::leave_out)
            status_ = outcome<Setter>(KORVANE_ERROR_NONE);
        return *this;
    }

    /// Passes the filled handle on, or returns the first failure.
    template <class Send>
    Result<void> then(Send send) const
    {
        return status_ ? send(handle_) : status_;
    }

private:
    T handle_;
    Result<void> status_;
    IfTooOld if_too_old_;
};

/// Makes a handle, fills it and passes it to `send`.
template <class T, auto Create, auto Destroy, class Fill, class Send, class... Size>
Result<void> with_handle(IfTooOld if_too_old, Fill fill, Send send, Size... size)
{
    const Handle<T, Create, Destroy> handle{size...};
    Filling<T> filling{handle.get(), handle.created(), if_too_old};
    fill(filling);
    return filling.then(send);
}

template <class Send>
Result<void> with(const std::vector<AccessPoint> &list, IfTooOld if_too_old, Send send)
{
    if (list.size() > INT_MAX)
        return refuse<korvane_aplist_create>();
    return with_handle<korvane_aplist_h, korvane_aplist_create, korvane_aplist_destroy>(
        if_too_old,
        [&list](Filling<korvane_aplist_h> &filling) {
            int at = 0;
            for (const AccessPoint &entry : list) {
                filling.set<korvane_aplist_set_ssid>(entry.ssid, at)
                    .set<korvane_aplist_set_bssid>(entry.bssid, at)
                    .set<korvane_aplist_set_authtype>(entry.authtype, at)
                    .set<korvane_aplist_set_enctype>(entry.enctype, at)
                    .set<korvane_aplist_set_channel>(entry.channel, at)
                    .set<korvane_aplist_set_signal_level>(entry.signal_level, at)
                    .set<korvane_aplist_set_max_rate>(entry.max_rate, at)
                    .set<korvane_aplist_set_frequency>(entry.frequency, at);
                ++at;
            }
        },
        send, static_cast<int>(list.size()));
}

template <class Send>
Result<void> with(const CloudInfo &info, IfTooOld if_too_old, Send send)
{
    return with_handle<korvane_cloud_info_h, korvane_cloudinfo_create, korvane_cloudinfo_destroy>(
        if_too_old,
        [&info](Filling<korvane_cloud_info_h> &filling) {
            filling.set<korvane_cloudinfo_set_region>(info.region)
                .set<korvane_cloudinfo_set_auth_provider>(info.auth_provider)
                .set<korvane_cloudinfo_set_access_token>(info.access_token)
                .set<korvane_cloudinfo_set_refresh_token>(info.refresh_token)
                .set<korvane_cloudinfo_set_user_id>(info.user_id)
                .set<korvane_cloudinfo_set_client_id>(info.client_id)
                .set<korvane_cloudinfo_set_cloud_interface_server>(info.cloud_interface_server)
                .set<korvane_cloudinfo_set_deploy_environment>(info.deploy_environment)
                .set<korvane_cloudinfo_set_token_type>(info.token_type);
        },
        send);
}

template <class Send>
Result<void> with(const PlatformInfo &info, IfTooOld if_too_old, Send send)
{
    return with_handle<korvane_platform_info_h, korvane_platforminfo_create, korvane_platforminfo_destroy>(
        if_too_old,
        [&info](Filling<korvane_platform_info_h> &filling) {
            filling.set<korvane_platforminfo_set_model_number>(info.model_number)
                .set<korvane_platforminfo_set_platform_version>(info.platform_version)
                .set<korvane_platforminfo_set_vendor_id>(info.vendor_id)
                .set<korvane_platforminfo_set_manufacture_date>(info.manufacture_date)
                .set<korvane_platforminfo_set_firmware_version>(info.firmware_version);
        },
        send);
}

template <class Send>
Result<void> with(const LastStatusInfo &info, Send send)
{
    return with_handle<korvane_last_status_info_h, korvane_laststatusinfo_create, korvane_laststatusinfo_destroy>(
        IfTooOld::fail,
        [&info](Filling<korvane_last_status_info_h> &filling) {
            filling.set<korvane_laststatusinfo_set_timestamp>(std::optional<int>{info.timestamp})
                .set<korvane_laststatusinfo_set_error_code>(info.error_code);
        },
        send);
}

template <class Send>
Result<void> with(const DeviceProfileInfo &info, IfTooOld if_too_old, Send send)
{
    return with_handle<korvane_device_profile_info_h, korvane_device_profile_info_create,
                       korvane_device_profile_info_destroy>(
        if_too_old,
        [&info](Filling<korvane_device_profile_info_h> &filling) {
            filling.set<korvane_device_profile_info_set_nick>(info.nick)
                .set<korvane_device_profile_info_set_locale>(info.locale)
                .set<korvane_device_profile_info_set_push_reg_id>(info.push_reg_id)
                .set<korvane_device_profile_info_set_push_app_id>(info.push_app_id)
                .set<korvane_device_profile_info_set_push_provider>(info.push_provider)
                .set<korvane_device_profile_info_set_serial_number>(info.serial_number);
        },
        send);
}

template <class Send>
Result<void> with(const TncInfo &info, Send send)
{
    return with_handle<korvane_tnc_info_h, korvane_tnc_info_create, korvane_tnc_info_destroy>(
        IfTooOld::fail,
        [&info](Filling<korvane_tnc_info_h> &filling) {
            filling.set<korvane_tncinfo_set_version>(info.version).set<korvane_tncinfo_set_header>(info.header);
        },
        send);
}

} // namespace detail
} // namespace korvane

#endif
