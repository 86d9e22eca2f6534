// SPDX-License-Identifier: Apache-2.0
#include "event_hub.hpp"

#include <utility>

namespace kv::virtual_agent {

Peer &EventHub::connect(Peer peer)
{
    std::string instance = peer.instance;
    return peers_.insert_or_assign(std::move(instance), std::move(peer)).first->second;
}

void EventHub::disconnect(std::string_view instance)
{
    if (const auto peer = peers_.find(instance); peer != peers_.end())
        peers_.erase(peer);
}

Peer *EventHub::find(std::string_view instance)
{
    const auto peer = peers_.find(instance);
    return peer == peers_.end() ? nullptr : &peer->second;
}

int EventHub::publish_values(const EventValues &values)
{
    const auto shown = std::make_shared<const Json>(values.shown());
    int receivers = 0;
    for (const auto &[instance, peer] : peers_)
        if (const auto kept = peer.delegates.find(values.id()); kept != peer.delegates.end()) {
            held_.push_back({instance, {kept->second, values.name(), shown, values.parcel_for(kept->second)}});
            ++receivers;
        }
    if (const auto observer = observers_.find(values.id()); receivers > 0 && observer != observers_.end())
        observer->second(values);
    if (!is_holding_)
        send_held();
    return receivers;
}

void EventHub::send_held()
{
    // Sending may disconnect an application, which publishes nothing.
    for (Addressed &next : std::exchange(held_, {}))
        send_(next.instance, next.event);
}

Json EventHub::view() const
{
    Json all = Json::array();
    for (const auto &[instance, peer] : peers_) {
        Json one = Json::object();
        one.set("name", peer.name());
        if (peer.api_version) {
            const auto &[major, minor, patch] = *peer.api_version;
            one.set("api_version", std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch));
        }
        Json delegates = Json::array();
        for (const EventEntry &known : all_events())
            if (peer.delegates.count(known.id) > 0)
                delegates.append(known.name);
        one.set("delegates", std::move(delegates));
        all.append(std::move(one));
    }
    return all;
}

} // namespace kv::virtual_agent
