// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <rpc_port_trace.h>

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace kv::ctl {

/// Makes sense of what the host platform has written down: a record for each parcel that crossed a port.
class TraceReader {
public:
    /// One line, for people and as an object.
    using Tell = std::function<void(const std::string &words, const Json &facts)>;

    explicit TraceReader(Tell tell) : tell_(std::move(tell)) {}

    /// The next bytes. Throws Failure for bytes that are no trace.
    void take(const char *bytes, std::size_t size);
    /// How many records there were.
    int records() const { return records_; }
    /// Whether the last one was cut off.
    bool cut() const { return !bytes_.empty(); }

private:
    /// A request that waits for its reply.
    struct Asked {
        int method;
        std::int64_t time_us;
    };

    void tell(const rpc_port_trace_record_t &record, const char *payload);

    Tell tell_;
    std::string bytes_{};
    int records_ = 0;
    std::map<std::pair<unsigned, unsigned>, Asked> asked_{}; // by process and port
};

} // namespace kv::ctl
