// SPDX-License-Identifier: Apache-2.0
#include "trace_records.hpp"

#include "tools/ctl/output/failure.hpp"

#include <cstring>

namespace kv::ctl {

void TraceRecords::take(const char *bytes, std::size_t size)
{
    pending_.append(bytes, size);
    std::size_t at = 0;
    rpc_port_trace_record_t record{};
    while (pending_.size() - at >= sizeof record) {
        std::memcpy(&record, pending_.data() + at, sizeof record);
        if (record.magic != RPC_PORT_TRACE_MAGIC)
            throw Failure{failed, "cannot read the trace: record " + std::to_string(count_ + 1) +
                                      " does not begin with the mark of a record"};
        if (pending_.size() - at - sizeof record < record.size)
            break;
        on_record_(record, pending_.data() + at + sizeof record);
        ++count_;
        at += sizeof record + record.size;
    }
    pending_.erase(0, at);
}

} // namespace kv::ctl
