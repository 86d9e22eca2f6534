// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"
#include "trace_records.hpp"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>

namespace kv::ctl {

/// Describes the parcels of a trace. Values are shown by name, and secrets are masked.
class TraceLines {
public:
    /// Receives one parcel, as text and as an object.
    using OnParcel = std::function<void(const std::string &text, const Json &object)>;

    explicit TraceLines(OnParcel on_parcel) : on_parcel_(std::move(on_parcel)) {}

    void take(const rpc_port_trace_record_t &record, const char *payload);

private:
    struct PendingRequest {
        int method;
        std::int64_t time_us;
    };
    struct Line;
    using Port = std::pair<unsigned, unsigned>; // process and port number

    void describe_request(const rpc_port_trace_record_t &record, Line &line);
    void describe_reply(const rpc_port_trace_record_t &record, Line &line);
    static void describe_event(Line &line);

    OnParcel on_parcel_;
    std::map<Port, PendingRequest> requests_{};
};

} // namespace kv::ctl
