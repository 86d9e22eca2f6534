// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "src/kv_master/delegate_codec.hpp"
#include "src/kv_master/interface.hpp"
#include "src/kv_master/parcel.hpp"

#include <string>
#include <vector>

/// One connection to the agent under check. Its methods fail the running check with the reason.
namespace kv::agent_kit {

struct Options {
    std::string agent_id = "org.korvane.agent";
    std::string port_name = "kv_master";
    int version = 0; // of the agent, as since() returns it
};

extern Options options;

/// An event, decoded as the interface describes it.
struct ReceivedEvent {
    master::AnyDelegate delegate;
    std::string problem; // why it does not match the description; empty if it does
};

class Connection {
public:
    Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection();

    /// Returns false, and fails the check, without a connection.
    bool open();

    /// Sends the parcel. Returns false, and fails the check, if that fails.
    bool send(const master::Parcel &request);
    /// Waits for the next parcel of the main port. Returns false, and fails the check, without one.
    bool read(master::Parcel &reply);
    /// Expects that the agent ends the connection and sends no reply.
    void expect_end();
    /// Runs the main loop until this many events have arrived in all. Returns false, and fails the check, otherwise.
    bool wait_for_events(int count);
    /// Fails the check if an event did not match its description or has a delegate that was not sent.
    void expect_valid_events() const;

    /// A delegate with a new sequence number.
    master::AnyDelegate new_delegate(int id, bool once);

    std::vector<ReceivedEvent> events{};

private:
    void read_event();

    rpc_port_proxy_h proxy_ = nullptr;
    rpc_port_h main_port_ = nullptr;
    bool is_connected_ = false;
    bool is_rejected_ = false;
    bool is_disconnected_ = false;
    int event_count_ = 0;
    std::vector<master::AnyDelegate> sent_{};
};

/// Whether all values of the parcel have been read.
bool is_at_end(const master::Parcel &parcel);

} // namespace kv::agent_kit
