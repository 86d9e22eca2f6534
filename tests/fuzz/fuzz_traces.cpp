// SPDX-License-Identifier: Apache-2.0
// Traces as korvanectl reads them. The first byte says how many bytes arrive at once; the rest is the trace. The lines must
// not depend on how the bytes arrive.

#include "fuzz_input.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/trace/trace_lines.hpp"
#include "tools/ctl/trace/trace_records.hpp"

namespace {

using namespace kv::ctl;

std::string lines_of(const std::string &trace, std::size_t piece)
{
    std::string lines;
    TraceLines printed{[&lines](const std::string &text, const Json &object) {
        lines += text + "\n" + text_of(object) + "\n";
        must(!parsed(text_of(object)).is_discarded(), "a line is not JSON");
    }};
    TraceRecords records{
        [&printed](const rpc_port_trace_record_t &record, const char *payload) { printed.take(record, payload); }};
    try {
        for (std::size_t at = 0; at < trace.size(); at += piece)
            records.take(trace.data() + at, std::min(piece, trace.size() - at));
    } catch (const Failure &problem) {
        return lines + problem.what();
    }
    return lines + (records.cut() ? "cut" : "whole");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    const std::size_t piece = 1 + input.byte();
    const std::string trace = input.rest();
    must(lines_of(trace, piece) == lines_of(trace, trace.size() + 1), "the lines depend on the pieces");
    return 0;
}
