// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_CORE_HPP
#define KORVANE_DEVICE_CORE_HPP

#include "calls.hpp"

#include "../coroutine.hpp"

namespace korvane::detail {

/// The service, the core state and the commands of a device. A part of korvane::Device.
class CoreFunctions : public Calls {
public:
    /// Asks the agent to start its device service and waits until it has replied. Call it while connected. Lowest agent
    /// version: any.
    Result<void> start() { return detail::call<korvane_start>(native_handle()); }
    /// Asks the agent to stop its device service and waits until it has replied. Lowest agent version: any.
    Result<void> stop() { return detail::call<korvane_stop>(native_handle()); }
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

    // ---- One-shot requests ----------

    // The completion runs at most once, with the reply. It does not run if the session ends before.

    /// Asks the agent to start its device service. Completion: `(int result)`, 0 if the service has started, otherwise
    /// agent-defined. Lowest agent version: 2.0.
    template <class Completion>
    Result<void> start_async(Completion completion)
    {
        return request<korvane_start_async, void(int)>(std::move(completion));
    }

#ifdef KORVANE_HAS_COROUTINES
    // The same for coroutines: `const auto reply = co_await device.start_async();`

    /// co_await returns Result<int>.
    auto start_async()
    {
        return detail::await<int, korvane_start_async>(session_, [](int result) { return result; });
    }
#endif
};

} // namespace korvane::detail

#endif
