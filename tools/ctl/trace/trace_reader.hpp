// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <rpc_port_trace.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace kv::ctl {

/// Reads the trace that the host platform writes: a record for each parcel that a port sent or received.
class TraceReader {
public:
    /// Receives one parcel, as text and as an object.
    using OnParcel = std::function<void(const std::string &text, const Json &object)>;

    explicit TraceReader(OnParcel on_parcel) : on_parcel_(std::move(on_parcel)) {}

    /// Takes the next bytes of the trace. Throws Failure if they are not a trace.
    void take(const char *bytes, std::size_t size);
    /// The number of complete records so far.
    int records() const { return records_; }
    /// Whether the last record is incomplete.
    bool cut() const { return !pending_.empty(); }

private:
    struct PendingRequest {
        int method;
        std::int64_t time_us;
    };
    struct Line;
    using Port = std::pair<unsigned, unsigned>; // process and port number

    void report(const rpc_port_trace_record_t &record, const char *payload);
    void describe_request(const rpc_port_trace_record_t &record, Line &line);
    void describe_reply(const rpc_port_trace_record_t &record, Line &line);
    static void describe_event(Line &line);

    OnParcel on_parcel_;
    std::string pending_{};
    int records_ = 0;
    std::map<Port, PendingRequest> requests_{};
};

} // namespace kv::ctl
