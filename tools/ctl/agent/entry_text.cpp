// SPDX-License-Identifier: Apache-2.0
#include "entry_text.hpp"

#include "tools/ctl/output/coded_text.hpp"
#include "tools/ctl/output/output.hpp"

namespace kv::ctl {

namespace {

/// The members of an object that is a member of the entry; `owner` is the method or event whose values they are.
std::string inner(const Json &entry, const char *name, const std::string &owner = "")
{
    const Json &member = member_of(entry, name);
    return member.is_object() ? coded_members_text(member, owner) : text_in(entry, name);
}

std::string request_text(const Json &entry)
{
    const std::string method = text_in(entry, "method");
    return method + "(" + inner(entry, "arguments", method) + ")  ->  " + inner(entry, "answer", method);
}
std::string event_text(const Json &entry)
{
    const std::string event = text_in(entry, "event");
    return "<=  " + event + "(" + inner(entry, "values", event) + ")";
}
std::string connection_text(const Json &entry)
{
    return text_in(entry, "connection");
}
std::string step_text(const Json &entry)
{
    const std::string file = text_in(entry, "file"); // of an included step
    return "scenario, " + (file.empty() ? "" : file + ", ") + "line " + text_in(entry, "line") + ": " +
           text_in(entry, "step");
}
std::string command_text(const Json &entry)
{
    return "command " + text_in(entry, "command") + "(" + inner(entry, "with") + ")";
}
std::string update_text(const Json &entry)
{
    return "update: " + text_in(entry, "update");
}
std::string agent_text(const Json &entry)
{
    return "agent " + text_in(entry, "version") + " " + text_in(entry, "agent");
}

/// A kind of entry is recognised by the member that only this kind has.
constexpr struct {
    const char *member;
    std::string (*text)(const Json &entry);
} kinds[] = {{"method", request_text}, {"event", event_text},     {"connection", connection_text},
             {"step", step_text},      {"command", command_text}, {"update", update_text},
             {"agent", agent_text}};

std::string subject_text(const Json &entry)
{
    for (const auto &kind : kinds)
        if (entry.contains(kind.member))
            return kind.text(entry);
    return text_of(entry);
}

} // namespace

std::string entry_text(const Json &entry)
{
    std::string text;
    if (member_of(entry, "time_us").is_number_integer())
        text += time_of_day(number_in(entry, "time_us", 0)) + "  ";
    if (const std::string peer = text_in(entry, "peer"); !peer.empty())
        text += peer + "  ";
    text += subject_text(entry);
    if (entry.contains("fault"))
        text += "  [fault " + text_in(entry, "fault") + "]";
    if (!flag_in(entry, "ok", true))
        text += "  FAILED";
    if (entry.contains("problem"))
        text += "  [" + text_in(entry, "problem") + "]";
    return printable(text);
}

} // namespace kv::ctl
