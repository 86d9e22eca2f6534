// SPDX-License-Identifier: Apache-2.0
// Clients that send a list of access points.

#include "access_points.hpp"
#include "clients.hpp"
#include "connections.hpp"
#include "src/korvane_master_proxy/arrays.hpp"
#include "src/korvane_master_proxy/functions/methods.hpp"
#include "src/korvane_master_proxy/records.hpp"
#include "src/kv_master/wire.hpp"

#include <rpc_port_stub.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kv::test {

namespace {

constexpr int list_length = 32;

/// The array as the proxy accepts it.
class RecordArray {
public:
    RecordArray()
    {
        std::vector<kv::Owned<rpc_port_korvane_ap_info_s>> owned;
        std::array<rpc_port_korvane_ap_info_h, list_length> records{};
        for (const AccessPoint &point : access_points(list_length)) {
            auto &record = records[owned.size()];
            require(rpc_port_korvane_ap_info_create(&record) == 0, "no record");
            owned.emplace_back(record);
            rpc_port_korvane_ap_info_set_ssid(record, point.ssid.c_str());
            rpc_port_korvane_ap_info_set_bssid(record, point.bssid.c_str());
            rpc_port_korvane_ap_info_set_authtype(record, authtype);
            rpc_port_korvane_ap_info_set_enctype(record, enctype);
            rpc_port_korvane_ap_info_set_channel(record, point.channel);
            rpc_port_korvane_ap_info_set_signal_level(record, point.signal_level);
            rpc_port_korvane_ap_info_set_max_rate(record, max_rate);
        }
        require(rpc_port_array_korvane_ap_info_create(&array_) == 0 &&
                    rpc_port_array_korvane_ap_info_set_array_korvane_ap_infos(array_, records.data(), list_length) == 0,
                "no array");
    }
    RecordArray(const RecordArray &) = delete;
    RecordArray &operator=(const RecordArray &) = delete;
    ~RecordArray() { rpc_port_array_korvane_ap_info_destroy(array_); }

    rpc_port_array_korvane_ap_info_h get() const { return array_; }

private:
    rpc_port_array_korvane_ap_info_h array_ = nullptr;
};

/// The bytes that the proxy sends, with their length in front.
std::vector<unsigned char> list_request()
{
    const RecordArray array;
    rpc_port_parcel_h parcel = nullptr;
    require(rpc_port_parcel_create(&parcel) == 0, "no parcel");
    rpc_port_parcel_write_int32(parcel, 25);
    rpc_port_parcel_write_int32(parcel, request_id);
    rpc_port_parcel_write(parcel, &array.get()->functions, array.get());
    const void *bytes = nullptr;
    std::size_t size = 0;
    rpc_port_parcel_get_raw(parcel, &bytes, &size);
    const auto length = static_cast<std::uint32_t>(size);
    std::vector<unsigned char> request(sizeof length + size);
    memcpy(request.data(), &length, sizeof length);
    memcpy(request.data() + sizeof length, bytes, size);
    rpc_port_parcel_destroy(parcel);
    return request;
}

class BareListClient : public Client {
public:
    explicit BareListClient(const std::string &path) : socket_(path) {}

    void call() override
    {
        unsigned char reply[sizeof bare_result];
        socket_.send_all(request_.data(), request_.size());
        socket_.receive_whole(reply, sizeof reply);
    }

private:
    Socket socket_;
    std::vector<unsigned char> request_ = list_request();
};

class BusListClient : public Client {
public:
    explicit BusListClient(const std::string &path) : bus_(path) {}

    void call() override
    {
        sd_bus_message *message = nullptr;
        sd_bus_message *reply = nullptr;
        int result = -1;
        bool whole = sd_bus_message_new_method_call(bus_.get(), &message, nullptr, bus_path, bus_interface,
                                                    bus_list_method) >= 0 &&
                     sd_bus_message_append(message, "i", request_id) >= 0 &&
                     sd_bus_message_open_container(message, 'a', "(ssiiisii)") >= 0;
        for (const AccessPoint &point : points_)
            whole =
                whole && sd_bus_message_append(message, "(ssiiisii)", point.ssid.c_str(), "", authtype, enctype,
                                               point.channel, point.bssid.c_str(), point.signal_level, max_rate) >= 0;
        whole = whole && sd_bus_message_close_container(message) >= 0 &&
                sd_bus_call(bus_.get(), message, 0, nullptr, &reply) >= 0 &&
                sd_bus_message_read(reply, "i", &result) >= 0 && result == 0;
        sd_bus_message_unref(message);
        sd_bus_message_unref(reply);
        require(whole, "sd-bus: the call failed");
    }

private:
    BusLink bus_;
    std::vector<AccessPoint> points_ = access_points(list_length);
};

class ProxyListClient : public Client {
public:
    void call() override
    {
        require(rpc_port_proxy_kv_master_invoke_send_ap_list(proxy_.get(), request_id, array_.get()) == 0,
                "proxy: the call failed");
    }

private:
    ProxyLink proxy_;
    RecordArray array_;
};

class ApiListClient : public Client {
public:
    void call() override { list_.send(api_.get()); }

private:
    ApiLink api_;
    ApiList list_{access_points(list_length)};
};

class WholeListClient : public Client {
public:
    void call() override { ApiList(points_).send(api_.get()); }

private:
    ApiLink api_;
    std::vector<AccessPoint> points_ = access_points(list_length);
};

} // namespace

std::unique_ptr<Client> connect_list_client(const std::string &peer, const std::string &folder)
{
    if (peer == peer::bare_list)
        return std::make_unique<BareListClient>(socket_path(peer::bare, folder));
    if (peer == peer::sdbus_list)
        return std::make_unique<BusListClient>(socket_path(peer::sdbus, folder));
    if (peer == peer::proxy_list)
        return std::make_unique<ProxyListClient>();
    if (peer == peer::api_list)
        return std::make_unique<ApiListClient>();
    if (peer == peer::whole_list)
        return std::make_unique<WholeListClient>();
    return nullptr;
}

} // namespace kv::test
