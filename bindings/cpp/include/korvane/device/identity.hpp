// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_DEVICE_IDENTITY_HPP
#define KORVANE_DEVICE_IDENTITY_HPP

#include "cloud.hpp"

#include "../received.hpp"
#include "../values.hpp"

namespace korvane::detail {

/// The identity of the device: platform data, profile, last status, names. A part of korvane::Device.
class IdentityFunctions : public CloudFunctions {
public:
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

    // ---- Events ----------

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
};

} // namespace korvane::detail

#endif
