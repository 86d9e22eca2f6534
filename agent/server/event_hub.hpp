// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/interface/events.hpp"
#include "peer.hpp"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The connected applications and the events that they have registered for. Every event that is not the reply to a
/// request leaves the agent through the hub, whether phone, cloud, a command or a scenario publishes it.
class EventHub {
public:
    /// Writes an event to the link of one application.
    using Send = std::function<void(const std::string &instance, Event &event)>;

    EventHub() = default;
    EventHub(const EventHub &) = delete;
    EventHub &operator=(const EventHub &) = delete;

    void send_by(Send send) { send_ = std::move(send); }

    // The connected applications.
    Peer &connect(Peer peer);
    void disconnect(std::string_view instance);
    /// Null if it is not connected.
    Peer *find(std::string_view instance);
    void disconnect_all() { peers_.clear(); }
    std::size_t peers() const { return peers_.size(); }
    Json view() const;

    /// Sends an event to every application that has registered for it and returns their number. While a request is
    /// served, the event waits for the reply to be sent.
    int publish_values(const EventValues &values);
    template <class D, class... Values>
    int publish(D, const Values &...values)
    {
        return publish_values(ValuesOf<D>{values...});
    }

    /// Publishes an event that makes no sense without a receiver. Throws std::invalid_argument if there is none.
    template <class D, class... Values>
    void require(D event, const Values &...values)
    {
        if (publish(event, values...) == 0)
            throw std::invalid_argument{std::string{"no application is registered for "} + D::name};
    }

    /// Calls `observer` with the values of each event of type D that at least one application receives, no matter what
    /// published it. One observer per type; it must outlive the hub.
    template <class D, class Observer>
    void observe(D, Observer observer)
    {
        observers_[D::id] = [observer = std::move(observer)](const EventValues &values) {
            static_cast<const ValuesOf<D> &>(values).apply(observer);
        };
    }

    /// Holds back published events while a request is served. They are sent by send_held(), or when the next event is
    /// published outside of any request.
    class Hold {
    public:
        explicit Hold(EventHub &hub) : hub_(hub) { hub_.is_holding_ = true; }
        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;
        ~Hold() { hub_.is_holding_ = false; }

    private:
        EventHub &hub_;
    };
    void send_held();

private:
    struct Addressed {
        std::string instance;
        Event event;
    };

    Send send_{};
    std::map<std::string, Peer, std::less<>> peers_{};
    std::map<int, std::function<void(const EventValues &)>> observers_{};
    std::vector<Addressed> held_{};
    bool is_holding_ = false;
};

} // namespace kv::virtual_agent
