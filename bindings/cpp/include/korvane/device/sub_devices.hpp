// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_SUB_DEVICES_HPP
#define KORVANE_DEVICE_SUB_DEVICES_HPP

#include "identity.hpp"

#include "../coroutine.hpp"
#include "../received.hpp"

namespace korvane::detail {

/// Devices behind this one, and the group. A part of korvane::Device.
class SubDeviceFunctions : public IdentityFunctions {
public:
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

    // ---- One-shot requests ----------

    // The completion runs at most once, with the reply. It does not run if the session ends before.

    /// Asks the agent for the id of the device's group. Completion: `(std::string_view group_id)`. Lowest agent version: 1.5.
    template <class Completion>
    Result<void> get_group_id(Completion completion)
    {
        return request<korvane_get_group_id, void(std::string_view)>(std::move(completion));
    }

#ifdef KORVANE_HAS_COROUTINES
    // The same for coroutines: `const auto reply = co_await device.get_group_id();`

    /// co_await returns Result<std::string>.
    auto get_group_id()
    {
        return detail::await<std::string, korvane_get_group_id>(session_,
                                                                [](std::string_view id) { return std::string{id}; });
    }
#endif
};

} // namespace korvane::detail

#endif
