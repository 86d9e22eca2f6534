// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_RECEIVED_HPP
#define KORVANE_RECEIVED_HPP

#include "call.hpp"

#include <cstddef>

/// The data that an application receives: views of the library's handles, which read a member when it is asked for, and copies.
namespace korvane {

/// The access point that the device is to join, as Device::on_wifi_ap_provisioning() receives it. A view: it is valid
/// until the next event of its kind, the next registration or the end of one for this event, or the end of the session.
class ChosenAccessPoint {
public:
    explicit ChosenAccessPoint(korvane_ap_info_h info) noexcept : info_(info) {}

    /// Whether the agent's data could be read. If not, every member fails with Errc::invalid_parameter.
    explicit operator bool() const noexcept { return info_ != nullptr; }

    /// Network name, any bytes. Lowest agent version: any.
    Result<std::string> ssid() const { return detail::read_text<korvane_apinfo_get_ssid>(info_); }
    /// Password, a secret. Fails with Errc::operation_failed if the agent sent none. Lowest agent version: any.
    Result<std::string> password() const { return detail::read_text<korvane_apinfo_get_password>(info_); }
    /// Authentication type; agent-defined. Lowest agent version: any.
    Result<int> authtype() const { return detail::read<korvane_apinfo_get_authtype, int>(info_); }
    /// Encryption type; agent-defined. Lowest agent version: any.
    Result<int> enctype() const { return detail::read<korvane_apinfo_get_enctype, int>(info_); }
    /// Radio channel. Lowest agent version: any.
    Result<int> channel() const { return detail::read<korvane_apinfo_get_channel, int>(info_); }
    /// Further access points to try, as JSON text; agent-defined. Lowest agent version: 1.3.
    Result<std::string> candidate_ap() const { return detail::read_text<korvane_apinfo_get_candidate_ap>(info_); }
    /// Hardware address as text. Lowest agent version: 1.4.
    Result<std::string> bssid() const { return detail::read_text<korvane_apinfo_get_bssid>(info_); }

    /// The handle, for functions of korvane.h.
    korvane_ap_info_h native_handle() const noexcept { return info_; }

private:
    korvane_ap_info_h info_;
};

/// Data from the phone about its user and location, as Device::on_device_provisioning() receives them. A view: it is valid
/// until the next event of its kind, the next registration or the end of one for this event, or the end of the session.
/// A text is empty if the phone sent none.
class DeviceProvisioning {
public:
    explicit DeviceProvisioning(korvane_device_prov_info_h info) noexcept : info_(info) {}

    /// The user's language; agent-defined. Lowest agent version: any.
    Result<std::string> language() const { return detail::read_text<korvane_devinfo_get_language>(info_); }
    /// Country; agent-defined. Lowest agent version: any.
    Result<std::string> country() const { return detail::read_text<korvane_devinfo_get_country>(info_); }
    /// Date and time; agent-defined. Lowest agent version: any.
    Result<std::string> datetime() const { return detail::read_text<korvane_devinfo_get_datetime>(info_); }
    /// The mobile device that registers this one; agent-defined. Lowest agent version: 1.1.
    Result<std::string> regist_mobile_device() const
    {
        return detail::read_text<korvane_devinfo_get_regist_mobile_device>(info_);
    }

    /// The handle, for functions of korvane.h.
    korvane_device_prov_info_h native_handle() const noexcept { return info_; }

private:
    korvane_device_prov_info_h info_;
};

/// A token with its data, as the completion of Device::create_hdr_token_info() receives it. A view: it is valid during the
/// call of the completion. Lowest agent version of all members: 2.1.
class HdrTokenInfo {
public:
    explicit HdrTokenInfo(korvane_hdr_token_info_h info) noexcept : info_(info) {}

    /// Whether the agent's data could be read. If not, every member fails with Errc::invalid_parameter.
    explicit operator bool() const noexcept { return info_ != nullptr; }

    /// Id of the token.
    Result<std::string> uuid() const { return detail::read_text<korvane_hdr_token_info_get_uuid>(info_); }
    /// Name of the server that the token is for.
    Result<std::string> server_name() const { return detail::read_text<korvane_hdr_token_info_get_server_name>(info_); }
    /// URL of that server.
    Result<std::string> server_url() const { return detail::read_text<korvane_hdr_token_info_get_server_url>(info_); }
    /// The token itself, a secret.
    Result<std::string> token() const { return detail::read_text<korvane_hdr_token_info_get_token>(info_); }
    /// The time at which the token expires; agent-defined.
    Result<int> expiration_time() const { return detail::read<korvane_hdr_token_info_get_expiration_time, int>(info_); }

    /// The handle, for functions of korvane.h.
    korvane_hdr_token_info_h native_handle() const noexcept { return info_; }

private:
    korvane_hdr_token_info_h info_;
};

/// A copy of an HdrTokenInfo. A member that the agent did not send has no value.
struct HdrToken {
    std::optional<std::string> uuid{};
    std::optional<std::string> server_name{};
    std::optional<std::string> server_url{};
    std::optional<std::string> token{}; ///< a secret
    std::optional<int> expiration_time{};
};

/// The texts of an event, without copies: `for (std::string_view id : ids)`. Valid during the callback.
class TextList {
public:
    class Iterator {
    public:
        explicit Iterator(const char *const *at) noexcept : at_(at) {}
        std::string_view operator*() const noexcept { return *at_; }
        Iterator &operator++() noexcept
        {
            ++at_;
            return *this;
        }
        bool operator!=(const Iterator &other) const noexcept { return at_ != other.at_; }

    private:
        const char *const *at_;
    };

    TextList(const char *const *texts, int count) noexcept : texts_(texts), count_(static_cast<std::size_t>(count)) {}

    std::size_t size() const noexcept { return count_; }
    bool empty() const noexcept { return count_ == 0; }
    std::string_view operator[](std::size_t index) const noexcept { return texts_[index]; }
    Iterator begin() const noexcept { return Iterator{texts_}; }
    Iterator end() const noexcept { return Iterator{texts_ + count_}; }

private:
    const char *const *texts_;
    std::size_t count_;
};

/// Header fields of the agent's TCP connection to the cloud. A member that the agent did not send has no value.
struct TcpHeaderInfo {
    std::optional<int> ip_version{}; ///< 4 or 6
    std::optional<std::string> src_addr{};
    std::optional<int> src_port{};
    std::optional<std::string> dst_addr{};
    std::optional<int> dst_port{};
    std::optional<int> seq_num{};
    std::optional<int> ack_num{};
    std::optional<int> window{}; ///< as it appears in the header, before scaling
    std::optional<int> window_scale{};
};

/// The presence of one sub-device.
struct SubDevicePresence {
    std::string device_id{};
    int presence = 0; ///< agent-defined. `korvane-agent`: 1 present, 0 absent
};

namespace detail {

/// Moves the value of a result into an optional member.
template <class T>
std::optional<T> found(Result<T> result)
{
    return result ? std::optional<T>{*std::move(result)} : std::nullopt;
}

inline HdrToken copy_of(const HdrTokenInfo &info)
{
    return {found(info.uuid()), found(info.server_name()), found(info.server_url()), found(info.token()),
            found(info.expiration_time())};
}

inline Result<TcpHeaderInfo> tcp_header(korvane_h handle)
{
    struct Header {
        korvane_tcp_header_info_h info = nullptr;
        ~Header()
        {
            if (info)
                korvane_release_tcp_header_info(info);
        }
    } header;
    const int code = korvane_get_tcp_header_info(handle, &header.info);
    if (code != KORVANE_ERROR_NONE)
        return outcome<korvane_get_tcp_header_info>(code);
    const auto info = header.info;
    return {TcpHeaderInfo{found(read<korvane_tcp_header_info_get_ip_version, int>(info)),
                          found(read_text<korvane_tcp_header_info_get_src_addr>(info)),
                          found(read<korvane_tcp_header_info_get_src_port, int>(info)),
                          found(read_text<korvane_tcp_header_info_get_dst_addr>(info)),
                          found(read<korvane_tcp_header_info_get_dst_port, int>(info)),
                          found(read<korvane_tcp_header_info_get_seq_num, int>(info)),
                          found(read<korvane_tcp_header_info_get_ack_num, int>(info)),
                          found(read<korvane_tcp_header_info_get_window, int>(info)),
                          found(read<korvane_tcp_header_info_get_window_scale, int>(info))},
            name_of<korvane_get_tcp_header_info>()};
}

inline Result<std::vector<SubDevicePresence>> sub_device_presences(korvane_h handle)
{
    struct List {
        korvane_sub_dev_prs_h *elements = nullptr;
        int count = 0;
        ~List()
        {
            if (elements)
                korvane_release_sub_device_presence_list(elements, count);
        }
    } list;
    int code = korvane_get_sub_device_presence_list(handle, &list.elements, &list.count);
    if (code != KORVANE_ERROR_NONE)
        return outcome<korvane_get_sub_device_presence_list>(code);
    std::vector<SubDevicePresence> found;
    for (int i = 0; i < list.count; ++i) {
        char *id = nullptr;
        SubDevicePresence entry;
        code = korvane_get_sub_device_presence(list.elements[i], &id, &entry.presence);
        const OwnedText owned{id};
        if (code != KORVANE_ERROR_NONE)
            return outcome<korvane_get_sub_device_presence>(code);
        entry.device_id = id;
        found.push_back(std::move(entry));
    }
    return {std::move(found), name_of<korvane_get_sub_device_presence_list>()};
}

} // namespace detail
} // namespace korvane

#endif
