// SPDX-License-Identifier: Apache-2.0
#include "trace_lines.hpp"

#include "parcel_values.hpp"
#include "tools/ctl/output/output.hpp"

namespace kv::ctl {

/// The line for one parcel while it is built.
struct TraceLines::Line {
    ParcelValues parcel;
    int head; // the first value: a method of a request, else the kind of the parcel
    std::string text;
    Json object;
};

void TraceLines::describe_request(const rpc_port_trace_record_t &record, Line &line)
{
    requests_[{record.process, record.port}] = {line.head, record.time_us};
    const Json values = line.parcel.request_arguments(line.head);
    line.object["request"] = method_name(line.head);
    line.object["id"] = line.head;
    line.object["arguments"] = values;
    line.text += "->  " + method_name(line.head) + "(" + members_text(values) + ")";
}

void TraceLines::describe_reply(const rpc_port_trace_record_t &record, Line &line)
{
    const auto request = requests_.find({record.process, record.port});
    const bool known = request != requests_.end();
    const Json values = line.parcel.reply_values(known ? request->second.method : -1);
    const std::string name = known ? method_name(request->second.method) : "to a request before the trace";
    line.object["reply"] = name;
    line.object["answer"] = values;
    line.text += "<-  " + name + ": " + members_text(values);
    if (!known)
        return;
    const std::int64_t duration_us = record.time_us - request->second.time_us;
    line.object["duration_us"] = duration_us;
    line.text += "  (" + std::to_string(duration_us) + " us)";
    requests_.erase(request);
}

void TraceLines::describe_event(Line &line)
{
    const ParcelValues::Event event = line.parcel.event();
    line.object["event"] = event.name;
    line.object["seq_id"] = event.seq_id;
    line.object["once"] = event.once;
    line.object["values"] = event.values;
    line.text += "<=  " + event.name + "(" + members_text(event.values) + ")";
}

void TraceLines::take(const rpc_port_trace_record_t &record, const char *payload)
{
    Line line{ParcelValues{payload, record.size},
              -1,
              time_of_day(record.time_us) + "  ",
              {{"time_us", record.time_us}, {"pid", record.process}, {"bytes", record.size}}};
    line.head = line.parcel.int32();
    const bool main = is_main_link(record);
    if (main && is_from_caller(record)) {
        describe_request(record, line);
    } else if (main && line.head == ParcelValues::reply_kind) {
        describe_reply(record, line);
    } else if (!main && line.head == ParcelValues::event_kind) {
        describe_event(line);
    } else {
        line.object["unknown"] = line.head;
        line.parcel.set_malformed();
        line.text += "??  a parcel of kind " + std::to_string(line.head);
    }
    if (const std::string_view problem = line.parcel.problem(); !problem.empty()) {
        line.object["problem"] = problem;
        line.text += "  [" + std::string{problem} + ", " + std::to_string(record.size) + " bytes]";
    }
    on_parcel_(line.text, line.object);
}

} // namespace kv::ctl
