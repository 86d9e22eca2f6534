// SPDX-License-Identifier: Apache-2.0
#include "scenario_writer.hpp"

#include "effects.hpp"
#include "placeholder.hpp"

#include <algorithm>
#include <iterator>

namespace kv::ctl {

namespace {

/// Whether the library sends the request when it connects, with its own version. An application cannot be expected to.
bool is_sent_by_library(const std::string &method)
{
    return method == "set_api_version" || method == "is_update_ready";
}

bool is_masked(const Json &value)
{
    return value.is_string() && value.get<std::string>().rfind("<secret, ", 0) == 0;
}

/// In a scenario "${" begins a variable.
std::string escaped(std::string text)
{
    for (std::size_t at = 0; (at = text.find("${", at)) != std::string::npos; at += 3)
        text.insert(at, "$");
    return text;
}

/// The position at which the journal has cut off a long value, which it marks with "... (1234 bytes)" or "... (40 items)"; npos if not.
std::size_t cut_position(const Json &value)
{
    if (!value.is_string())
        return std::string::npos;
    const std::string text = value.get<std::string>();
    const bool marked = text.ends_with(" bytes)") || text.ends_with(" items)");
    return marked ? text.rfind("... (") : std::string::npos;
}

bool is_delegate(const Json &value)
{
    return value.is_object() && value.contains("seq_id") && value.contains("once");
}

Json expected(const Json &value);

Json expected_begin(const Json &value, std::size_t length)
{
    const std::string begin = value.get<std::string>().substr(0, length);
    return begin.empty() ? Json(nullptr) : Json{{"contains", escaped(begin)}};
}

Json expected_members(const Json &object)
{
    Json members = Json::object();
    for (const auto &[name, member] : object.items())
        if (Json one = expected(member); !one.is_null())
            members[name] = std::move(one);
    return members.empty() && !object.empty() ? Json(nullptr) : members;
}

/// A scenario compares an array as a whole, so one item that cannot be expected rules out all.
Json expected_items(const Json &array)
{
    Json items = Json::array();
    for (const Json &item : array) {
        items.push_back(expected(item));
        if (items.back().is_null())
            return nullptr;
    }
    return items;
}

/// The expectation for a value; null if the journal does not show enough of it.
Json expected(const Json &value)
{
    if (is_masked(value) || is_delegate(value))
        return nullptr;
    if (const std::size_t cut = cut_position(value); cut != std::string::npos)
        return expected_begin(value, cut);
    if (value.is_object())
        return expected_members(value);
    if (value.is_string())
        return escaped(value.get<std::string>());
    return value.is_array() ? expected_items(value) : value;
}

/// The value to send again. A placeholder replaces what the journal does not show, and is added to `missing`.
Json value_to_send(const Json &value, const std::string &name, std::vector<std::string> &missing)
{
    if (is_masked(value) || cut_position(value) != std::string::npos) {
        missing.push_back(name + (is_masked(value) ? ", a secret" : ", too long for the journal"));
        return placeholder(name);
    }
    if (value.is_string())
        return escaped(value.get<std::string>());
    if (!value.is_structured())
        return value;
    Json whole = value;
    for (auto item = whole.begin(); item != whole.end(); ++item)
        *item = value_to_send(*item, value.is_object() ? item.key() : name, missing);
    return whole;
}

/// The time limits of a scenario, from the times of a recording.
constexpr long long min_pause_ms = 50; // before an event; a shorter one is left out
constexpr long long max_pause_ms =
    1000; // a longer one is shortened, because people are slower than applications must be
constexpr long long usual_wait_ms = 2500; // for a call; the limit of an expectation, 5000 ms, is enough
constexpr long long limit_per_waited = 2; // of a call that came later

class ScenarioWriter {
public:
    explicit ScenarioWriter(Recorded source) : source_(source) {}

    void take(const Json &entry)
    {
        if (entry.contains("method"))
            add_call(entry);
        if (source_ == Recorded::journal)
            take_from_journal(entry);
        else
            take_from_traffic(entry);
    }

    RecordedScenario finished(const std::string &title)
    {
        recorded_.left_out += static_cast<int>(pending_events_.size());
        const Json note =
            "Recorded: " + std::to_string(recorded_.calls) + " calls, " + std::to_string(recorded_.events) + " events.";
        recorded_.text = "{\n  \"title\": " + text_of(title) + ",\n  \"note\": " + text_of(note) + ",\n" +
                         (source_ == Recorded::traffic ? "  \"keeps_calls\": true,\n" : "") + "  \"steps\": [\n";
        for (std::size_t i = 0; i < steps_.size(); ++i)
            recorded_.text += "    " + text_of(steps_[i]) + (i + 1 < steps_.size() ? ",\n" : "\n");
        recorded_.text += "  ]\n}\n";
        return std::move(recorded_);
    }

private:
    /// In the file.
    std::size_t first_step_line() const { return source_ == Recorded::traffic ? 6 : 5; }

    /// The journal has the events of a command before the command itself.
    void take_from_journal(const Json &entry)
    {
        if (entry.contains("event")) {
            pending_events_.push_back(&entry);
            return;
        }
        if (entry.contains("command") && flag_in(entry, "ok", false))
            for (const Json *event : pending_events_)
                add_event(*event);
        else
            recorded_.left_out += static_cast<int>(pending_events_.size());
        pending_events_.clear();
    }

    void take_from_traffic(const Json &entry)
    {
        if (entry.contains("event"))
            add_event(entry);
        else if (text_in(entry, "agent") == "ended")
            add_end_of_agent();
        else if (text_in(entry, "agent") == "serves" && std::exchange(agent_is_away_, false))
            add_step({{"restart", true}}, entry);
    }

    /// An agent that ends is away until an application has connected to the next one.
    void add_end_of_agent()
    {
        effects_.clear();
        if (!std::exchange(agent_is_away_, true))
            steps_.push_back({{"kill", true}});
    }

    /// The time since the step before, which a journal does not need: its events are caused by commands of a person.
    long long waited_ms(const Json &entry) const
    {
        return source_ == Recorded::traffic && last_us_ > 0 ? (number_in(entry, "time_us", last_us_) - last_us_) / 1000
                                                            : 0;
    }

    void add_step(Json step, const Json &entry)
    {
        steps_.push_back(std::move(step));
        last_us_ = number_in(entry, "time_us", last_us_);
    }

    void add_call(const Json &entry)
    {
        const std::string method = text_in(entry, "method");
        const Json &arguments = member_of(entry, "arguments");
        const Json &reply = member_of(entry, "answer");
        if (number_in(reply, "result", 0) == 0)
            add_effects(effects_of(method, arguments));
        if (is_sent_by_library(method))
            return;
        Json step{{"expect", method}};
        if (const Json with = expected(arguments); !with.is_null() && !with.empty())
            step["with"] = with;
        // A reply that a fault changed will be another one when the scenario is played.
        if (reply.contains("result") && !entry.contains("fault"))
            step["answer"] = {{"result", reply["result"]}};
        if (const long long waited = waited_ms(entry); waited > usual_wait_ms)
            step["within_ms"] = limit_per_waited * waited;
        add_step(std::move(step), entry);
        ++recorded_.calls;
    }

    /// In a journal only the events of one-shot requests could be taken for those of a command.
    void add_effects(std::vector<Effect> effects)
    {
        for (Effect &effect : effects)
            if (source_ == Recorded::traffic || effect.is_one_shot)
                effects_.push_back(std::move(effect));
    }

    /// Whether the event is the effect of a call, which it can be once.
    bool is_effect(const std::string &event, const Json &values)
    {
        const auto found = std::find_if(effects_.begin(), effects_.end(),
                                        [&](const Effect &effect) { return effect.is(event, values); });
        if (found == effects_.end())
            return false;
        effects_.erase(found);
        return true;
    }

    void add_event(const Json &entry)
    {
        const std::string event = text_in(entry, "event");
        if (is_effect(event, member_of(entry, "values"))) {
            ++recorded_.left_out;
            return;
        }
        if (const long long waited = waited_ms(entry); waited >= min_pause_ms)
            steps_.push_back({{"wait_ms", std::min(waited, max_pause_ms)}});
        std::vector<std::string> missing;
        Json values = Json::array();
        for (const auto &[name, value] : member_of(entry, "values").items())
            values.push_back(value_to_send(value, name, missing));
        add_step({{"emit", event}, {"values", values}}, entry);
        ++recorded_.events;
        const std::string line = "line " + std::to_string(first_step_line() + steps_.size() - 1) + ": ";
        for (const std::string &value : missing)
            recorded_.placeholders.push_back(line + event + ", " + value);
    }

    Recorded source_;
    RecordedScenario recorded_{};
    std::vector<Json> steps_{};
    std::vector<const Json *> pending_events_{}; // whose cause follows in the journal
    std::vector<Effect> effects_{};              // of calls, which the agent has not sent yet
    long long last_us_ = 0;                      // time of the last step
    bool agent_is_away_ = false;
};

} // namespace

RecordedScenario scenario_from(const std::vector<Json> &entries, const std::string &title, Recorded source)
{
    ScenarioWriter writer{source};
    for (const Json &entry : entries)
        writer.take(entry);
    return writer.finished(title);
}

} // namespace kv::ctl
