// SPDX-License-Identifier: Apache-2.0
// Clients whose calls grow with a number in the name of the peer.

#include "access_points.hpp"
#include "clients.hpp"
#include "connections.hpp"

#include <cstdint>
#include <cstring>
#include <optional>

namespace kv::test {

namespace {

/// The number in "NAME:NUMBER" if the name is that one.
std::optional<int> number_after(const std::string &name, const std::string &peer)
{
    if (!peer.starts_with(name))
        return std::nullopt;
    return std::stoi(peer.substr(name.size()));
}

class BareTextClient : public Client {
public:
    BareTextClient(const std::string &path, int size) : socket_(path), request_(static_cast<std::size_t>(size) + 8)
    {
        const auto rest = static_cast<std::uint32_t>(request_.size() - 4);
        memcpy(request_.data(), &rest, sizeof rest);
    }

    void call() override
    {
        unsigned char reply[sizeof bare_result];
        socket_.send_all(request_.data(), request_.size());
        socket_.receive_whole(reply, sizeof reply);
    }

private:
    Socket socket_;
    std::vector<unsigned char> request_;
};

class ApiTextClient : public Client {
public:
    explicit ApiTextClient(int size) : text_(static_cast<std::size_t>(size), 'n') {}

    void call() override { require(korvane_set_nick_name(api_.get(), 0, text_.c_str()) == 0, "api: the call failed"); }

private:
    ApiLink api_;
    std::string text_;
};

class LongListClient : public Client {
public:
    explicit LongListClient(int count) : points_(access_points(count)) {}

    void call() override { ApiList(points_).send(api_.get()); }

private:
    ApiLink api_;
    std::vector<AccessPoint> points_;
};

/// An application with sub-devices, which it unregisters at its end.
class SubDevices {
public:
    explicit SubDevices(int count) : count_(count)
    {
        for (int number = 1; number <= count; ++number)
            require(korvane_register_sub_device(api_.get(), number, ("lamp-" + std::to_string(number)).c_str()) == 0,
                    "api: a sub-device cannot be registered");
    }
    SubDevices(const SubDevices &) = delete;
    SubDevices &operator=(const SubDevices &) = delete;
    ~SubDevices()
    {
        for (int number = 1; number <= count_; ++number)
            korvane_unregister_sub_device(api_.get(), number);
    }

    korvane_h handle() const { return api_.get(); }
    int last() const { return count_; }

private:
    ApiLink api_;
    int count_;
};

class PresenceSetClient : public Client {
public:
    explicit PresenceSetClient(int count) : devices_(count) {}

    void call() override
    {
        const int number = devices_.last();
        require(korvane_set_sub_device_presence(devices_.handle(), &number, 1, true) == 0, "api: the call failed");
    }

private:
    SubDevices devices_;
};

class PresenceListClient : public Client {
public:
    explicit PresenceListClient(int count) : devices_(count) {}

    void call() override
    {
        korvane_sub_dev_prs_h *list = nullptr;
        int count = 0;
        require(korvane_get_sub_device_presence_list(devices_.handle(), &list, &count) == 0, "api: the call failed");
        require(count == devices_.last(), "api: the list has another length");
        korvane_release_sub_device_presence_list(list, count);
    }

private:
    SubDevices devices_;
};

} // namespace

std::unique_ptr<Client> connect_growth_client(const std::string &peer, const std::string &folder)
{
    if (const auto size = number_after(peer::bare_text, peer))
        return std::make_unique<BareTextClient>(socket_path(peer::bare, folder), *size);
    if (const auto size = number_after(peer::api_text, peer))
        return std::make_unique<ApiTextClient>(*size);
    if (const auto count = number_after(peer::long_list, peer))
        return std::make_unique<LongListClient>(*count);
    if (const auto count = number_after(peer::presence_set, peer))
        return std::make_unique<PresenceSetClient>(*count);
    if (const auto count = number_after(peer::presence_list, peer))
        return std::make_unique<PresenceListClient>(*count);
    return nullptr;
}

} // namespace kv::test
