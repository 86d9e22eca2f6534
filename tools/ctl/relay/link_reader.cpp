// SPDX-License-Identifier: Apache-2.0
#include "link_reader.hpp"

#include "tools/ctl/trace/parcel_values.hpp"

#include <rpc_port_frame.h>

#include <cstdint>
#include <utility>

namespace kv::ctl {

namespace {

constexpr std::size_t header = RPC_PORT_FRAME_HEADER;

std::uint32_t number_at(std::string_view bytes, std::size_t offset)
{
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[offset + i])) << (8 * i);
    return number;
}

/// The payload that begins with this number and has more than `size` bytes.
bool begins_with(std::string_view payload, std::uint32_t mark, std::size_t size)
{
    return payload.size() > size && number_at(payload, 0) == mark;
}

ParcelValues values_of(std::string_view payload)
{
    return {payload.data(), payload.size()};
}

/// Receivers ignore bytes behind the last value, so they are no mistake.
bool is_whole(const ParcelValues &parcel)
{
    return parcel.problem() != ParcelValues::malformed;
}

bool is_known(const std::string &name)
{
    return name.rfind(unknown_name, 0) != 0;
}

} // namespace

void LinkReader::take(End from, const char *bytes, std::size_t size)
{
    if (!reads_)
        return;
    std::string &pending = pending_[from];
    pending.append(bytes, size);
    const std::string_view all = pending;
    std::size_t at = 0;
    while (reads_ && all.size() - at >= header) {
        const std::size_t length = number_at(all, at);
        if (length > RPC_PORT_MAX_PAYLOAD)
            return read_no_more(std::string{from == application ? "the application" : "the agent"} +
                                " announces a frame of " + std::to_string(length) + " bytes");
        if (all.size() - at - header < length)
            break;
        take_frame(from, all.substr(at + header, length));
        at += header + length;
    }
    pending.erase(0, at);
}

void LinkReader::take_frame(End from, std::string_view payload)
{
    if (link_ == Link::unknown)
        return from == application ? take_handshake(payload) : read_no_more("the agent sends before the handshake");
    if (from == application)
        take_from_application(payload);
    else if (!is_handshake_reply(payload))
        take_from_agent(payload);
}

void LinkReader::take_from_application(std::string_view payload)
{
    if (link_ == Link::main)
        take_request(payload);
    else
        traffic_.warn(name() + ": the application sends on the callback link; this is not recorded");
}

void LinkReader::take_from_agent(std::string_view payload)
{
    if (link_ == Link::main)
        take_reply(payload);
    else
        take_event(payload);
}

void LinkReader::take_handshake(std::string_view payload)
{
    if (!begins_with(payload, RPC_PORT_HANDSHAKE_REQUEST, RPC_PORT_HANDSHAKE_TOKEN + RPC_PORT_HANDSHAKE_TOKEN_SIZE) ||
        static_cast<unsigned char>(payload[RPC_PORT_HANDSHAKE_LINK]) > 1)
        return read_no_more("it does not begin with the handshake of an application");
    link_ = payload[RPC_PORT_HANDSHAKE_LINK] == 0 ? Link::main : Link::callback;
    connection_ =
        traffic_.connection(std::string{payload.substr(RPC_PORT_HANDSHAKE_TOKEN, RPC_PORT_HANDSHAKE_TOKEN_SIZE)});
}

bool LinkReader::is_handshake_reply(std::string_view payload)
{
    if (!std::exchange(first_of_agent_, false) ||
        !begins_with(payload, RPC_PORT_HANDSHAKE_REPLY, RPC_PORT_HANDSHAKE_CODE + 3))
        return false;
    connection_->is_accepted = number_at(payload, RPC_PORT_HANDSHAKE_CODE) == 0;
    if (connection_->is_accepted)
        traffic_.add({{"agent", "serves"}});
    else
        traffic_.warn(name() + ": the agent refuses the application");
    return true;
}

void LinkReader::take_request(std::string_view payload)
{
    ParcelValues parcel = values_of(payload);
    const int method = parcel.int32();
    const std::string called = method_name(method);
    Json arguments = parcel.request_arguments(method);
    std::size_t entry = Traffic::none;
    if (is_known(called) && is_whole(parcel))
        entry = traffic_.add({{"method", called}, {"arguments", std::move(arguments)}});
    else
        traffic_.warn(name() + ": the request '" + called + "' of " + std::to_string(payload.size()) +
                      " bytes cannot be decoded; it is not recorded");
    connection_->is_well_formed = connection_->is_well_formed && is_whole(parcel);
    open_.emplace_back(method, entry);
}

void LinkReader::take_reply(std::string_view payload)
{
    ParcelValues parcel = values_of(payload);
    if (parcel.int32() != ParcelValues::reply_kind || open_.empty())
        return traffic_.warn(name() + ": the agent sends a parcel that is no reply; it is not recorded");
    const auto [method, entry] = open_.front();
    open_.pop_front();
    Json answer = parcel.reply_values(method);
    if (is_known(method_name(method)) && !is_whole(parcel))
        return traffic_.warn(name() + ": the reply to '" + method_name(method) +
                             "' cannot be decoded; it is not recorded");
    traffic_.add_answer(entry, std::move(answer));
}

void LinkReader::take_event(std::string_view payload)
{
    ParcelValues parcel = values_of(payload);
    const bool is_event = parcel.int32() == ParcelValues::event_kind;
    ParcelValues::Event event = parcel.event();
    if (is_event && is_known(event.name) && is_whole(parcel))
        traffic_.add({{"event", event.name}, {"once", event.once}, {"values", std::move(event.values)}});
    else
        traffic_.warn(name() + ": an event of " + std::to_string(payload.size()) +
                      " bytes cannot be decoded; it is not recorded");
}

void LinkReader::ended_by_agent()
{
    // After a malformed request the agent closes one connection and lives on.
    if (connection_->is_well_formed && connection_->is_accepted && !std::exchange(connection_->has_ended, true))
        traffic_.add({{"agent", "ended"}});
}

void LinkReader::read_no_more(const std::string &reason)
{
    reads_ = false;
    connection_->is_well_formed = false;
    pending_ = {};
    traffic_.warn(name() + ": " + reason + "; its bytes are passed on and not recorded from here on");
}

} // namespace kv::ctl
