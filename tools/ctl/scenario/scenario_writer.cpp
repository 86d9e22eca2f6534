// SPDX-License-Identifier: Apache-2.0
#include "scenario_writer.hpp"

#include <algorithm>
#include <iterator>
#include <set>

namespace kv::ctl {

namespace {

/// What the library asks by itself when it connects, with its own version.
bool is_the_librarys_own(const std::string &method)
{
    return method == "set_api_version" || method == "is_update_ready";
}

bool is_masked(const Json &value)
{
    return value.is_string() && value.get<std::string>().rfind("<secret, ", 0) == 0;
}

/// The journal's mark at the end of what was too long for it: "... (1234 bytes)", "... (40 items)".
std::size_t cut_at(const Json &value)
{
    if (!value.is_string())
        return std::string::npos;
    const std::string text = value.get<std::string>();
    const bool marked = text.ends_with(" bytes)") || text.ends_with(" items)");
    return marked ? text.rfind("... (") : std::string::npos;
}

bool is_callback(const Json &value)
{
    return value.is_object() && value.contains("seq_id") && value.contains("once");
}

/// What can be expected of a value; null when nothing can.
Json expected(const Json &value)
{
    if (is_masked(value) || is_callback(value))
        return nullptr;
    if (const std::size_t cut = cut_at(value); cut != std::string::npos) {
        const std::string begin = value.get<std::string>().substr(0, cut);
        return begin.empty() ? Json(nullptr) : Json{{"contains", begin}};
    }
    if (value.is_object()) {
        Json members = Json::object();
        for (const auto &[name, member] : value.items())
            if (Json one = expected(member); !one.is_null())
                members[name] = std::move(one);
        return members.empty() && !value.empty() ? Json(nullptr) : members;
    }
    if (value.is_array()) {
        Json items = Json::array();
        for (const Json &item : value) {
            items.push_back(expected(item));
            if (items.back().is_null())
                return nullptr; // an array is expected as a whole
        }
        return items;
    }
    return value;
}

/// The value as it is to be sent again; what the journal does not hold is named among the gaps.
Json sent(const Json &value, const std::string &name, std::vector<std::string> &gaps)
{
    if (is_masked(value) || cut_at(value) != std::string::npos) {
        gaps.push_back(name + (is_masked(value) ? ", a secret" : ", too long for the journal"));
        return "FILL IN: " + name;
    }
    if (value.is_structured()) {
        Json whole = value;
        for (auto item = whole.begin(); item != whole.end(); ++item)
            *item = sent(*item, value.is_object() ? item.key() : name, gaps);
        return whole;
    }
    return value;
}

class Recorder {
public:
    void take(const Json &entry)
    {
        if (entry.contains("event")) {
            events_.push_back(&entry);
            return;
        }
        if (entry.contains("command") && entry.value("ok", false))
            for (const Json *event : events_)
                add_event(*event);
        else
            recorded_.left_out += static_cast<int>(events_.size());
        events_.clear();
        if (entry.contains("method"))
            add_call(entry);
    }

    Recorded finished(const std::string &title)
    {
        recorded_.left_out += static_cast<int>(events_.size());
        const Json head =
            "Recorded: " + std::to_string(recorded_.calls) + " calls, " + std::to_string(recorded_.events) + " events.";
        recorded_.text =
            "{\n  \"title\": " + text_of(title) + ",\n  \"note\": " + text_of(head) + ",\n  \"steps\": [\n";
        for (std::size_t i = 0; i < steps_.size(); ++i)
            recorded_.text += "    " + text_of(steps_[i]) + (i + 1 < steps_.size() ? ",\n" : "\n");
        recorded_.text += "  ]\n}\n";
        return std::move(recorded_);
    }

private:
    static constexpr std::size_t first_line = 5; // of the steps in the file

    void add_call(const Json &entry)
    {
        const std::string method = entry["method"];
        const Json none = Json::object();
        const Json &arguments = entry.contains("arguments") ? entry["arguments"] : none;
        for (const auto &[name, value] : arguments.items())
            if (is_callback(value) && value["once"] == true)
                answers_.insert(name);
        if (is_the_librarys_own(method))
            return;
        Json step{{"expect", method}};
        if (const Json with = expected(arguments); !with.is_null() && !with.empty())
            step["with"] = with;
        // A fault has made this answer, and the next time there is none.
        if (const auto answer = entry.find("answer");
            answer != entry.end() && answer->is_object() && answer->contains("result") && !entry.contains("fault"))
            step["answer"] = {{"result", (*answer)["result"]}};
        steps_.push_back(std::move(step));
        ++recorded_.calls;
    }

    void add_event(const Json &entry)
    {
        const std::string event = entry["event"];
        if (answers_.erase(event) > 0) { // the request for it brings it again
            ++recorded_.left_out;
            return;
        }
        std::vector<std::string> gaps;
        Json values = Json::array();
        for (const auto &[name, value] : entry["values"].items())
            values.push_back(sent(value, name, gaps));
        steps_.push_back({{"emit", event}, {"values", values}});
        ++recorded_.events;
        const std::string line = "line " + std::to_string(first_line + steps_.size() - 1) + ": ";
        for (const std::string &gap : gaps)
            recorded_.gaps.push_back(line + event + ", " + gap);
    }

    Recorded recorded_{};
    std::vector<Json> steps_{};
    std::vector<const Json *> events_{}; // of which it is not known yet who caused them
    std::set<std::string> answers_{};    // events that requests have asked for, once
};

} // namespace

Recorded scenario_from(const std::vector<Json> &entries, const std::string &title)
{
    Recorder recorder;
    for (const Json &entry : entries)
        recorder.take(entry);
    return recorder.finished(title);
}

} // namespace kv::ctl
