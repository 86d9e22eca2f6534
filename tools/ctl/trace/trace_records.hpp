// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rpc_port_trace.h>

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace kv::ctl {

/// Reads the trace that the host platform writes: a record for each parcel that a port sent or received.
class TraceRecords {
public:
    using OnRecord = std::function<void(const rpc_port_trace_record_t &record, const char *payload)>;

    explicit TraceRecords(OnRecord on_record) : on_record_(std::move(on_record)) {}

    /// Takes the next bytes of the trace. Throws Failure if they are not a trace.
    void take(const char *bytes, std::size_t size);
    /// The number of complete records so far.
    int count() const { return count_; }
    /// Whether the last record is incomplete.
    bool cut() const { return !pending_.empty(); }

private:
    OnRecord on_record_;
    std::string pending_{};
    int count_ = 0;
};

inline bool is_main_link(const rpc_port_trace_record_t &record)
{
    return record.link == RPC_PORT_TRACE_CALLER_MAIN || record.link == RPC_PORT_TRACE_SERVER_MAIN;
}

/// Whether an application recorded the parcel, not an agent.
inline bool is_recorded_by_caller(const rpc_port_trace_record_t &record)
{
    return record.link == RPC_PORT_TRACE_CALLER_MAIN || record.link == RPC_PORT_TRACE_CALLER_CALLBACK;
}

/// Whether the application sent the parcel, not the agent.
inline bool is_from_caller(const rpc_port_trace_record_t &record)
{
    return is_recorded_by_caller(record) == (record.sent == 1);
}

} // namespace kv::ctl
