// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_HPP
#define KORVANE_DEVICE_HPP

#include "coroutine.hpp"
#include "session.hpp"
#include "subscription.hpp"
#include "values.hpp"

#include <functional>

namespace korvane {

/// States of the connection to the agent.
enum class ConnectionStatus {
    connected = KORVANE_CONNECTION_CONNECTED,       ///< Register handlers and call Device::start().
    disconnected = KORVANE_CONNECTION_DISCONNECTED, ///< The connection ended; Device::reopen() connects again.
    rejected = KORVANE_CONNECTION_REJECTED,         ///< The agent refused, or could not be reached; see the reason.
};

/// A session with the agent, from its opening to its destruction. A process can have one at a time.
///
///     auto device = korvane::Device::open([](korvane::ConnectionStatus status, std::error_code reason) { ... });
///
/// The functions have the names, arguments and rules of korvane.h without the prefix; its descriptions name the result codes.
/// Further rules:
///  - Everything is used from the thread that runs the application's GLib main loop.
///  - A text with a NUL inside is refused with Errc::invalid_parameter, because it would be sent cut off.
///  - A handler is a function object of the application: a lambda, also one that can only be moved, a function pointer, a
///    std::function. It is called by one indirect call, that of the C callback. It may call any function, and may destroy its
///    Device or its Subscription while it runs. References and views that it receives are valid during the call.
///  - An exception that leaves a handler ends at set_exception_handler().
///  - A Device without a session, moved from or closed, fails with Errc::invalid_parameter.
class Device {
public:
    /// Receives each change of the connection. `reason` is no error, Errc::service_unavailable if an update of the agent is
    /// the cause, or for a rejection Errc::permission_denied or Errc::io_error.
    using ConnectionHandler = std::function<void(ConnectionStatus status, std::error_code reason)>;

    Device() = default;
    Device(Device &&other) noexcept = default;
    Device &operator=(Device &&other) noexcept
    {
        Device former{std::move(*this)};
        session_ = std::move(other.session_);
        connection_ = std::move(other.connection_);
        return *this;
    }
    /// Ends the session. If the library refuses, because no agent is installed at the moment, the handlers are muted, and the
    /// next session that this process opens ends the former one first.
    ~Device()
    {
        if (!session_ || close())
            return;
        session_->mute();
        detail::unended_session() = std::move(session_);
    }

    /// Begins to connect to the agent. Requests fail until the handler receives ConnectionStatus::connected. The handler may
    /// be empty.
    static Result<Device> open(ConnectionHandler handler = {})
    {
        Device device;
        device.connection_ = detail::Reference<detail::Node>{new ConnectionNode{std::move(handler)}};
        const auto opened = device.reopen();
        if (!opened)
            return opened;
        return {std::move(device), opened.function()};
    }

    /// Ends the session, if there is one, and begins another with the same connection handler. Subscriptions, one-shot
    /// requests and what the agent knows about this connection do not survive: see docs/device-life.md. If it fails, call it
    /// again later.
    Result<void> reopen()
    {
        if (auto &unended = detail::unended_session()) {
            if (const int code = unended->close())
                return detail::outcome<korvane_deinitialize>(code);
            unended.reset();
        }
        if (const auto closed = close(); !closed)
            return closed;
        if (!connection_)
            return detail::refuse<korvane_initialize>();
        auto session = std::make_shared<detail::Session>(connection_);
        const int code = korvane_initialize(&session->handle, ConnectionNode::callback, connection_.get());
        if (code == KORVANE_ERROR_NONE)
            session_ = std::move(session);
        return detail::outcome<korvane_initialize>(code);
    }

    /// Ends the session; no handler runs afterwards. If the library refuses (Errc::not_supported, Errc::agent_version_lower),
    /// the session stays. Does nothing without a session. May be called in any handler.
    Result<void> close()
    {
        const auto session = std::move(session_);
        session_ = nullptr;
        if (!session)
            return detail::outcome<korvane_deinitialize>(KORVANE_ERROR_NONE);
        const int code = session->close();
        if (code != KORVANE_ERROR_NONE)
            session_ = session;
        return detail::outcome<korvane_deinitialize>(code);
    }

    /// Whether a session exists. It need not be connected.
    bool is_open() const noexcept { return session_ != nullptr; }

    /// The handle, for functions of korvane.h; nullptr without a session. Do not deinitialise it.
    korvane_h native_handle() const noexcept { return session_ ? session_->handle : nullptr; }

    // ---- Device service ----------

    /// Asks the agent to start its device service and waits until it has replied. Call it while connected. Lowest agent
    /// version: any.
    Result<void> start() { return detail::call<korvane_start>(native_handle()); }
    /// Asks the agent to stop its device service and waits until it has replied. Lowest agent version: any.
    Result<void> stop() { return detail::call<korvane_stop>(native_handle()); }

    // ---- Core state ----------

    /// Reads the id under which the agent knows this device. Lowest agent version: any.
    Result<std::string> get_device_id() { return detail::read_text<korvane_get_device_id>(native_handle()); }
    /// Reads whether the device is set up. Lowest agent version: any.
    Result<bool> get_easysetup_status() { return detail::read<korvane_get_easysetup_status, bool>(native_handle()); }
    /// Asks the agent to reset the device to the state before its setup; on_reset_result() receives the result. Lowest
    /// agent version: any.
    Result<void> reset() { return detail::call<korvane_reset>(native_handle()); }
    /// Replies to on_reset_confirm(): true if the device may be reset. Lowest agent version: any.
    Result<void> send_reset_confirm(bool confirm)
    {
        return detail::call<korvane_send_reset_confirm>(native_handle(), confirm);
    }
    /// Replies to on_user_confirm(): true if the user consents to the setup. Lowest agent version: any.
    Result<void> send_user_confirm(bool confirm)
    {
        return detail::call<korvane_send_user_confirm>(native_handle(), confirm);
    }
    /// Sends the device's name and its Wi-Fi capabilities, two bit masks above 0. Call it before start(). Lowest agent
    /// version: any.
    Result<void> set_device_property(std::string_view name, int wifi_mode, int wifi_freq)
    {
        return detail::call<korvane_set_device_property>(native_handle(), name, wifi_mode, wifi_freq);
    }
    /// Sends the device's name, its Wi-Fi capabilities and at least one Wi-Fi authentication type. Call it before
    /// start(), instead of set_device_property(). Lowest agent version: 2.2.
    Result<void> set_device_property_with_wifi_authtype(std::string_view name, int wifi_mode, int wifi_freq,
                                                        const std::vector<int> &wifi_authtypes)
    {
        return wifi_authtypes.size() > INT_MAX ? detail::refuse<korvane_set_device_property_with_wifi_authtype>()
                                               : detail::call<korvane_set_device_property_with_wifi_authtype>(
                                                     native_handle(), name, wifi_mode, wifi_freq, wifi_authtypes.data(),
                                                     static_cast<int>(wifi_authtypes.size()));
    }

    // ---- Setup ----------

    /// Replies to on_scan_ap() with the access points that the device sees, at least one. Lowest agent version: any.
    Result<void> send_ap_list(const std::vector<AccessPoint> &list, int req_id, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(list, if_too_old, [this, req_id](auto handle) {
            return detail::call<korvane_send_ap_list>(native_handle(), handle, req_id);
        });
    }
    /// Sends a PIN that the application has generated for the current setup, not empty. Lowest agent version: 1.4.
    Result<void> set_random_pin(std::string_view pin)
    {
        return detail::call<korvane_set_random_pin>(native_handle(), pin);
    }
    /// Withdraws the PIN of set_random_pin(). Lowest agent version: 1.4.
    Result<void> unset_random_pin() { return detail::call<korvane_unset_random_pin>(native_handle()); }
    /// Sends a PIN that never changes, for instance one printed on the device. Call it before start(). Lowest agent
    /// version: any.
    Result<void> set_preconfigured_pin(std::string_view pin)
    {
        return detail::call<korvane_set_preconfigured_pin>(native_handle(), pin);
    }
    /// Switches the flag that the agent calls MOT status. Lowest agent version: any.
    Result<void> set_mot_status(bool enable) { return detail::call<korvane_set_mot_status>(native_handle(), enable); }
    /// Switches the setup over Bluetooth Low Energy on or off. Lowest agent version: 1.4.
    Result<void> set_gatt_ble(bool enable) { return detail::call<korvane_set_gatt_ble>(native_handle(), enable); }
    /// Sends the languages that the device supports, at least one. Call it before start(). Lowest agent version: 1.3.
    Result<void> set_language_list(const std::vector<std::string> &languages)
    {
        const detail::CTexts texts{languages};
        return texts.valid() ? detail::call<korvane_set_language_list>(native_handle(), texts.data(), texts.count())
                             : detail::refuse<korvane_set_language_list>();
    }
    /// Replies to on_provisioning_language(): true if the device changed its language. Lowest agent version: 1.3.
    Result<void> send_provisioning_language_setting_result(unsigned req_id, bool result)
    {
        return detail::call<korvane_send_provisioning_language_setting_result>(native_handle(), req_id, result);
    }
    /// Sends vendor-specific provisioning data, JSON text that is passed on unchanged. Lowest agent version: 1.3.
    Result<void> set_provisioning_vendor_info(std::string_view json)
    {
        return detail::call<korvane_set_provisioning_vendor_info>(native_handle(), json);
    }
    /// Reports why the device could not join the access point; agent-defined. Lowest agent version: 1.3.
    Result<void> set_wifi_connection_error_code(int error_code)
    {
        return detail::call<korvane_set_wifi_connection_error_code>(native_handle(), error_code);
    }
    /// Sends the single sign-on list, agent-defined text. Lowest agent version: 1.3.
    Result<void> set_sso_list(std::string_view list)
    {
        return detail::call<korvane_set_sso_list>(native_handle(), list);
    }
    /// Sends the application's version of the setup. Call it before start(). Lowest agent version: 1.3.
    Result<void> set_easysetup_version_info(std::string_view version)
    {
        return detail::call<korvane_set_easysetup_version_info>(native_handle(), version);
    }

    // ---- Cloud ----------

    /// Asks the agent to sign the device up to the cloud; on_signup_status_changed() receives the result. Lowest agent
    /// version: any.
    Result<void> sign_up_cloud(const CloudInfo &info, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(info, if_too_old, [this](auto handle) {
            return detail::call<korvane_sign_up_cloud>(native_handle(), handle);
        });
    }
    /// Switches the sign-in to the cloud off (true), or on again. Lowest agent version: 2.2.
    Result<void> disable_signin(bool disable) { return detail::call<korvane_disable_signin>(native_handle(), disable); }
    /// Asks the agent to end its session with the cloud; on_tcp_session_disconnected() reports the end. Lowest agent
    /// version: 1.4.
    Result<void> disconnect_cloud_session() { return detail::call<korvane_disconnect_cloud_session>(native_handle()); }
    /// Reads whether the device is signed in to the cloud. Lowest agent version: 1.4.
    Result<bool> get_signin_status() { return detail::read<korvane_get_signin_status, bool>(native_handle()); }
    /// Reads whether the device is signed up to the cloud. Lowest agent version: 1.4.
    Result<bool> get_signup_status() { return detail::read<korvane_get_signup_status, bool>(native_handle()); }
    /// Reads the agent's status of the device; agent-defined. Lowest agent version: 1.4.
    Result<int> get_thing_status() { return detail::read<korvane_get_thing_status, int>(native_handle()); }

    // ---- Identity ----------

    /// Sends the platform data of the device itself. Lowest agent version: 1.1.
    Result<void> set_platform_info(const PlatformInfo &info, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(info, if_too_old, [this](auto handle) {
            return detail::call<korvane_set_platform_info>(native_handle(), handle);
        });
    }
    /// Sends the platform data of one device; 0 is the device itself. Lowest agent version: 1.2.
    Result<void> set_platform_info_with_device_no(const PlatformInfo &info, int device_no,
                                                  IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(info, if_too_old, [this, device_no](auto handle) {
            return detail::call<korvane_set_platform_info_with_device_no>(native_handle(), handle, device_no);
        });
    }
    /// Sends the device's last status. Lowest agent version: 1.1.
    Result<void> set_last_status_info(const LastStatusInfo &info)
    {
        return detail::with(
            info, [this](auto handle) { return detail::call<korvane_set_last_status_info>(native_handle(), handle); });
    }
    /// Sends the profile of the device itself. Lowest agent version: 1.3.
    Result<void> set_device_profile_info(const DeviceProfileInfo &info, IfTooOld if_too_old = IfTooOld::fail)
    {
        return detail::with(info, if_too_old, [this](auto handle) {
            return detail::call<korvane_set_device_profile_info>(native_handle(), handle);
        });
    }
    /// Sends the text that the agent calls "regist set device". Lowest agent version: 1.1.
    Result<void> set_regist_set_device(std::string_view rsd)
    {
        return detail::call<korvane_set_regist_set_device>(native_handle(), rsd);
    }
    /// Sends the nick name of one device, which the user sees; 0 is the device itself. Lowest agent version: 1.2.
    Result<void> set_nick_name(int device_no, std::string_view nick)
    {
        return detail::call<korvane_set_nick_name>(native_handle(), device_no, nick);
    }
    /// Sets the name of the device itself. Lowest agent version: 1.4.
    Result<void> set_device_name(std::string_view name)
    {
        return detail::call<korvane_set_device_name>(native_handle(), name);
    }
    /// Sets the name of one device. The device number is the last argument. Lowest agent version: 1.4.
    Result<void> set_device_name_with_device_no(std::string_view name, int device_no)
    {
        return detail::call<korvane_set_device_name_with_device_no>(native_handle(), name, device_no);
    }
    /// Sets the type of one device; agent-defined. Lowest agent version: 2.0.
    Result<void> set_device_type_with_device_no(int device_no, std::string_view type)
    {
        return detail::call<korvane_set_device_type_with_device_no>(native_handle(), device_no, type);
    }
    /// Reads whether the device has an owner. Lowest agent version: 1.2.
    Result<bool> get_device_owned_status()
    {
        return detail::read<korvane_get_device_owned_status, bool>(native_handle());
    }

    // ---- Keep-alive ----------

    /// Sends a table of keep-alive intervals, at least one; the unit is agent-defined. Lowest agent version: 1.3.
    Result<void> set_keepalive_intervals(const std::vector<int> &intervals)
    {
        return with_ints<korvane_set_keepalive_intervals>(intervals);
    }
    /// Selects intervals of the table, at least one. Lowest agent version: 1.3.
    Result<void> select_keepalive_intervals(const std::vector<int> &indexes)
    {
        return with_ints<korvane_select_keepalive_intervals>(indexes);
    }
    /// Asks the agent to send a keep-alive now; on_keepalive_result() receives the result. Lowest agent version: 1.3.
    Result<void> send_keepalive() { return detail::call<korvane_send_keepalive>(native_handle()); }
    /// Asks the agent to send the device's presence to the cloud now. 0: on, 1: inactive. Lowest agent version: 1.3.
    Result<void> send_presence(int state) { return detail::call<korvane_send_presence>(native_handle(), state); }
    /// Reads the header fields of the agent's TCP connection to the cloud. Lowest agent version: 1.4.
    Result<TcpHeaderInfo> get_tcp_header_info() { return detail::tcp_header(native_handle()); }

    // ---- Sub-devices ----------

    /// Registers a sub-device under a number above 0. Lowest agent version: 1.1.
    Result<void> register_sub_device(int device_no, std::string_view device_id)
    {
        return detail::call<korvane_register_sub_device>(native_handle(), device_no, device_id);
    }
    /// Ends the registration of a sub-device. Lowest agent version: 1.1.
    Result<void> unregister_sub_device(int device_no)
    {
        return detail::call<korvane_unregister_sub_device>(native_handle(), device_no);
    }
    /// Reports whether sub-devices, at least one, are present. Lowest agent version: 1.4.
    Result<void> set_sub_device_presence(const std::vector<int> &device_nos, bool presence)
    {
        return with_ints<korvane_set_sub_device_presence>(device_nos, presence);
    }
    /// Reads the presence of all registered sub-devices. Fails with Errc::no_data if there is none. Lowest agent
    /// version: 1.6.
    Result<std::vector<SubDevicePresence>> get_sub_device_presence_list()
    {
        return detail::sub_device_presences(native_handle());
    }

    // ---- Push messages and terms ----------

    /// Sends a push message of the application to the user: JSON text, which the library parses and prints again.
    /// Lowest agent version: 2.0.
    Result<void> send_custom_push_msg(std::string_view json)
    {
        return detail::call<korvane_send_custom_push_msg>(native_handle(), json);
    }
    /// Sends the device's terms and conditions. Lowest agent version: 1.3.
    Result<void> set_tnc_info(const TncInfo &info)
    {
        return detail::with(
            info, [this](auto handle) { return detail::call<korvane_set_tnc_info>(native_handle(), handle); });
    }
    /// Sends the URL of the terms. Lowest agent version: 1.4.
    Result<void> set_tnc_url(std::string_view url) { return detail::call<korvane_set_tnc_url>(native_handle(), url); }
    /// Reports which kinds of terms exist, as an agent-defined bit mask. Lowest agent version: 1.4.
    Result<void> set_tnc_type(unsigned type) { return detail::call<korvane_set_tnc_type>(native_handle(), type); }
    /// Reports whether the user has accepted the terms; agent-defined. Lowest agent version: 1.3.
    Result<void> set_tnc_status(int status) { return detail::call<korvane_set_tnc_status>(native_handle(), status); }

    // ---- Events ----------

    /// Registers a handler `()` for calls that failed because the link to the agent broke; it runs from the main loop,
    /// once for all failures since its last run. Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_rpc_io_error(Handler handler)
    {
        return subscribe<korvane_set_rpc_io_error_cb, korvane_unset_rpc_io_error_cb, void()>(std::move(handler));
    }
    /// Registers a handler `(int status)` for changes of the agent's setup status. Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_status_changed(Handler handler)
    {
        return subscribe<korvane_set_status_changed_cb, korvane_unset_status_changed_cb, void(int)>(std::move(handler));
    }
    /// Registers a handler `()` for the agent's question for the user's consent; reply with send_user_confirm(). Lowest
    /// agent version: any.
    template <class Handler>
    Result<Subscription> on_user_confirm(Handler handler)
    {
        return subscribe<korvane_set_user_confirm_cb, korvane_unset_user_confirm_cb, void()>(std::move(handler));
    }
    /// Registers a handler `()` for the agent's question whether the device may be reset; reply with
    /// send_reset_confirm(). Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_reset_confirm(Handler handler)
    {
        return subscribe<korvane_set_reset_confirm_cb, korvane_unset_reset_confirm_cb, void()>(std::move(handler));
    }
    /// Registers a handler `(bool result)` for the result of a reset. Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_reset_result(Handler handler)
    {
        return subscribe<korvane_set_reset_result_cb, korvane_unset_reset_result_cb, void(bool)>(std::move(handler));
    }
    /// Registers a handler `(const ChosenAccessPoint &)` for the access point that the device is to join. Lowest agent
    /// version: any.
    template <class Handler>
    Result<Subscription> on_wifi_ap_provisioning(Handler handler)
    {
        return subscribe<korvane_set_wifi_ap_provisioning_cb, korvane_unset_wifi_ap_provisioning_cb,
                         void(ChosenAccessPoint)>(std::move(handler));
    }
    /// Registers a handler `(int req_id)` for scan requests; reply with send_ap_list(). Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_scan_ap(Handler handler)
    {
        return subscribe<korvane_set_scan_ap_cb, korvane_unset_scan_ap_cb, void(int)>(std::move(handler));
    }
    /// Registers a handler `(const DeviceProvisioning &)` for language, country and time from the phone. Lowest agent
    /// version: any.
    template <class Handler>
    Result<Subscription> on_device_provisioning(Handler handler)
    {
        return subscribe<korvane_set_device_provisioning_cb, korvane_unset_device_provisioning_cb,
                         void(DeviceProvisioning)>(std::move(handler));
    }
    /// Registers a handler `()` for the end of the device's soft access point. Lowest agent version: any.
    template <class Handler>
    Result<Subscription> on_stop_soft_ap(Handler handler)
    {
        return subscribe<korvane_set_stop_soft_ap_cb, korvane_unset_stop_soft_ap_cb, void()>(std::move(handler));
    }
    /// Registers a handler `(unsigned req_id, std::string_view type, std::string_view value)` for language requests;
    /// reply with send_provisioning_language_setting_result(). Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_provisioning_language(Handler handler)
    {
        return subscribe<korvane_set_provisioning_language_cb, korvane_unset_provisioning_language_cb,
                         void(unsigned, std::string_view, std::string_view)>(std::move(handler));
    }
    /// Registers a handler `(int value, std::string_view text)` for vendor-specific provisioning data from the phone.
    /// Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_provisioning_vendor_info(Handler handler)
    {
        return subscribe<korvane_set_provisioning_vendor_info_cb, korvane_unset_provisioning_vendor_info_cb,
                         void(int, std::string_view)>(std::move(handler));
    }
    /// Registers a handler `(int feature)` for on-boarding (OTM) features. Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_otm_support_feature(Handler handler)
    {
        return subscribe<korvane_set_otm_support_feature_cb, korvane_unset_otm_support_feature_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(std::string_view text, int value)` for requests of provisioning data;
    /// set_provisioning_vendor_info() sends them. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_provisioning_get_requested(Handler handler)
    {
        return subscribe<korvane_set_provisioning_get_requested_cb, korvane_unset_provisioning_get_requested_cb,
                         void(std::string_view, int)>(std::move(handler));
    }
    /// Registers a handler `(bool status)` for changes of the sign-in. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_signin_status_changed(Handler handler)
    {
        return subscribe<korvane_set_signin_status_changed_cb, korvane_unset_signin_status_changed_cb, void(bool)>(
            std::move(handler));
    }
    /// Registers a handler `(bool status)` for changes of the sign-up. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_signup_status_changed(Handler handler)
    {
        return subscribe<korvane_set_signup_status_changed_cb, korvane_unset_signup_status_changed_cb, void(bool)>(
            std::move(handler));
    }
    /// Registers a handler `(int last_error_code)` for the end of the TCP session with the cloud. Lowest agent version:
    /// 1.4.
    template <class Handler>
    Result<Subscription> on_tcp_session_disconnected(Handler handler)
    {
        return subscribe<korvane_set_tcp_session_disconnected_cb, korvane_unset_tcp_session_disconnected_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(std::string_view last_status)` for changes of the last status. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_last_status_changed(Handler handler)
    {
        return subscribe<korvane_set_last_status_changed_cb, korvane_unset_last_status_changed_cb,
                         void(std::string_view)>(std::move(handler));
    }
    /// Registers a handler `(int device_no, std::string_view nick)` for changes of nick names. Lowest agent version:
    /// 1.3.
    template <class Handler>
    Result<Subscription> on_nick_changed(Handler handler)
    {
        return subscribe<korvane_set_nick_changed_cb, korvane_unset_nick_changed_cb, void(int, std::string_view)>(
            std::move(handler));
    }
    /// Registers a handler `(int result)` for the results of keep-alives. Lowest agent version: 1.4.
    template <class Handler>
    Result<Subscription> on_keepalive_result(Handler handler)
    {
        return subscribe<korvane_set_keepalive_result_cb, korvane_unset_keepalive_result_cb, void(int)>(
            std::move(handler));
    }
    /// Registers a handler `(int value, std::string_view text)` for requests of diagnostics from the cloud. Lowest
    /// agent version: 2.2.
    template <class Handler>
    Result<Subscription> on_diagnostics(Handler handler)
    {
        return subscribe<korvane_set_diagnostics_cb, korvane_unset_diagnostics_cb, void(int, std::string_view)>(
            std::move(handler));
    }
    /// Registers a handler `(std::string_view result)` for the user's answer to the terms. Lowest agent version: 1.3.
    template <class Handler>
    Result<Subscription> on_tnc_result(Handler handler)
    {
        return subscribe<korvane_set_tnc_result_cb, korvane_unset_tnc_result_cb, void(std::string_view)>(
            std::move(handler));
    }
    /// Registers a handler `(const TextList &device_ids)` for the cloud's list of the user's devices. Lowest agent
    /// version: 1.1.
    template <class Handler>
    Result<Subscription> on_cloud_device_list(Handler handler)
    {
        if (detail::is_empty(handler))
            return detail::refuse<korvane_set_cloud_device_list_cb>();
        return subscribe<korvane_set_cloud_device_list_cb, korvane_unset_cloud_device_list_cb,
                         void(const char *const *, int)>(
            [handler = std::move(handler)](const char *const *ids, int count) mutable {
                handler(TextList{ids, count});
            });
    }
    /// Registers two handlers: `(std::string_view pin, int value)` for a PIN, a secret, that the device is to display,
    /// and `()` for the end of the display. Lowest agent version: any.
    template <class Generated, class Closed>
    Result<Subscription> on_pin(Generated generated, Closed display_closed)
    {
        return subscribe_pair<korvane_set_pin_cb, korvane_unset_pin_cb>(std::move(generated),
                                                                        std::move(display_closed));
    }
    /// Registers two handlers: `(std::string_view pin, int value)` for a PIN, a secret, that the device is to play as
    /// ultrasound, and `()` for the end of the sound. Lowest agent version: 1.1.
    template <class Generated, class Closed>
    Result<Subscription> on_ultrasound_pin(Generated generated, Closed stopped)
    {
        return subscribe_pair<korvane_set_ultrasound_pin_cb, korvane_unset_ultrasound_pin_cb>(std::move(generated),
                                                                                              std::move(stopped));
    }

    // ---- One-shot requests ----------

    // The completion runs at most once, with the reply. It does not run if the session ends before.

    /// Asks the agent to start its device service. Completion: `(int result)`, 0 if the service has started, otherwise
    /// agent-defined. Lowest agent version: 2.0.
    template <class Completion>
    Result<void> start_async(Completion completion)
    {
        return request<korvane_start_async, void(int)>(std::move(completion));
    }
    /// Asks the agent for the id of the device's group. Completion: `(std::string_view group_id)`. Lowest agent version: 1.5.
    template <class Completion>
    Result<void> get_group_id(Completion completion)
    {
        return request<korvane_get_group_id, void(std::string_view)>(std::move(completion));
    }
    /// Asks the agent for a new certificate of the device. Completion: `(int result, std::string_view text)`; result 0: the text
    /// is the certificate and its data, otherwise the reason. Lowest agent version: 2.1.
    template <class Completion>
    Result<void> create_hdr_certificate(std::string_view device_type, std::string_view csr, Completion completion)
    {
        return request<korvane_create_hdr_certificate, void(int, std::string_view)>(std::move(completion), device_type,
                                                                                    csr);
    }
    /// Asks the agent for a certificate that was created before. Completion: `(int result, std::string_view text1,
    /// std::string_view text2)`, agent-defined texts (`korvane-agent`: the certificate and its chain in PEM). Lowest agent
    /// version: 2.1.
    template <class Completion>
    Result<void> get_hdr_certificate(std::string_view device_type, std::string_view certificate_arn,
                                     Completion completion)
    {
        return request<korvane_get_hdr_certificate, void(int, std::string_view, std::string_view)>(
            std::move(completion), device_type, certificate_arn);
    }
    /// Asks the agent for a token. Completion: `(int result, const HdrTokenInfo &)`. Lowest agent version: 2.1.
    template <class Completion>
    Result<void> create_hdr_token_info(Completion completion)
    {
        return request<korvane_create_hdr_token_info, void(int, HdrTokenInfo)>(std::move(completion));
    }
    /// Asks the agent for a token with request data of the application, JSON text that is passed on unchanged. Completion:
    /// `(int result, const HdrTokenInfo &)`. Lowest agent version: 2.3.
    template <class Completion>
    Result<void> create_hdr_token_info_custom(std::string_view request_data_json, Completion completion)
    {
        return request<korvane_create_hdr_token_info_custom, void(int, HdrTokenInfo)>(std::move(completion),
                                                                                      request_data_json);
    }

#ifdef KORVANE_HAS_COROUTINES
    // The same requests for coroutines: `const auto group = co_await device.get_group_id();`

    /// co_await returns Result<int>.
    auto start_async()
    {
        return detail::await<int, korvane_start_async>(session_, [](int result) { return result; });
    }
    /// co_await returns Result<std::string>.
    auto get_group_id()
    {
        return detail::await<std::string, korvane_get_group_id>(session_,
                                                                [](std::string_view id) { return std::string{id}; });
    }
    /// co_await returns Result<CreatedCertificate>.
    auto create_hdr_certificate(std::string_view device_type, std::string_view csr)
    {
        return detail::await<CreatedCertificate, korvane_create_hdr_certificate>(
            session_,
            [](int result, std::string_view text) {
                return CreatedCertificate{result, std::string{text}};
            },
            std::string{device_type}, std::string{csr});
    }
    /// co_await returns Result<FoundCertificate>.
    auto get_hdr_certificate(std::string_view device_type, std::string_view certificate_arn)
    {
        return detail::await<FoundCertificate, korvane_get_hdr_certificate>(
            session_,
            [](int result, std::string_view text1, std::string_view text2) {
                return FoundCertificate{result, std::string{text1}, std::string{text2}};
            },
            std::string{device_type}, std::string{certificate_arn});
    }
    /// co_await returns Result<CreatedToken>.
    auto create_hdr_token_info()
    {
        return detail::await<CreatedToken, korvane_create_hdr_token_info>(session_, detail::created_token);
    }
    /// co_await returns Result<CreatedToken>.
    auto create_hdr_token_info_custom(std::string_view request_data_json)
    {
        return detail::await<CreatedToken, korvane_create_hdr_token_info_custom>(session_, detail::created_token,
                                                                                 std::string{request_data_json});
    }
#endif

private:
    /// The connection handler, which all sessions of this object share.
    class ConnectionNode final : public detail::Node {
    public:
        explicit ConnectionNode(ConnectionHandler handler) : handler_(std::move(handler)) {}

        static void callback(int result, korvane_h, int status, void *user_data)
        {
            auto &node = *static_cast<ConnectionNode *>(user_data);
            if (!node.handler_)
                return;
            detail::run_handler(detail::name_of<korvane_initialize>(), node, node.handler_,
                                std::tuple{static_cast<ConnectionStatus>(status),
                                           std::error_code{result, error_category()}, user_data});
        }

    private:
        ConnectionHandler handler_;
    };

    template <auto Function, class... Rest>
    Result<void> with_ints(const std::vector<int> &numbers, Rest... rest)
    {
        if (numbers.size() > INT_MAX)
            return detail::refuse<Function>();
        return detail::call<Function>(native_handle(), numbers.data(), static_cast<int>(numbers.size()), rest...);
    }

    template <class Signature, class Handler>
    struct takes;
    template <class... Values, class Handler>
    struct takes<void(Values...), Handler> : std::is_invocable<Handler &, Values...> {
    };

    template <auto Set, detail::Unset UnsetFunction, class Signature, class Handler>
    Result<Subscription> subscribe(Handler handler)
    {
        static_assert(takes<Signature, Handler>::value, "the handler must take the values of this event");
        if (detail::is_empty(handler))
            return detail::refuse<Set>();
        using Node = detail::EventNode<Handler>;
        return subscribe_node<Set, UnsetFunction>(new Node{std::move(handler)}, [](korvane_h handle, Node *node) {
            return Set(handle, Node::template callback<Set, 0>, node);
        });
    }

    template <auto Set, detail::Unset UnsetFunction, class First, class Second>
    Result<Subscription> subscribe_pair(First first, Second second)
    {
        static_assert(takes<void(std::string_view, int), First>::value,
                      "the first handler must take (string_view, int)");
        static_assert(takes<void(), Second>::value, "the second handler must take no arguments");
        if (detail::is_empty(first) || detail::is_empty(second))
            return detail::refuse<Set>();
        using Node = detail::EventNode<First, Second>;
        return subscribe_node<Set, UnsetFunction>(
            new Node{std::move(first), std::move(second)}, [](korvane_h handle, Node *node) {
                return Set(handle, Node::template callback<Set, 0>, Node::template callback<Set, 1>, node);
            });
    }

    template <auto Set, detail::Unset UnsetFunction, class Node, class Call>
    Result<Subscription> subscribe_node(Node *made, Call set)
    {
        const detail::Reference<detail::Node> node{made};
        const auto session = session_; // a callback inside the call may close this device
        if (!session)
            return detail::refuse<Set>();
        const auto [code, number] = session->slot(UnsetFunction).set([&] { return set(session->handle, made); }, node);
        if (code != KORVANE_ERROR_NONE)
            return detail::outcome<Set>(code);
        return {Subscription{session, UnsetFunction, number}, detail::name_of<Set>()};
    }

    template <auto Request, class Signature, class Completion, class... Args>
    Result<void> request(Completion completion, const Args &...args)
    {
        static_assert(takes<Signature, Completion>::value, "the completion must take the values of this reply");
        return detail::request<Request>(session_, std::move(completion), args...);
    }

    std::shared_ptr<detail::Session> session_{};
    detail::Reference<detail::Node> connection_{};
};

} // namespace korvane

#endif
