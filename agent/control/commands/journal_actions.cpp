// SPDX-License-Identifier: Apache-2.0
#include "actions.hpp"

#include "agent/json/kind.hpp"
#include "agent/json/matching.hpp"

#include <stdexcept>

namespace kv::virtual_agent::command {

namespace {

constexpr int default_limit = 1000;
constexpr int default_wait_ms = 5000;
constexpr int max_wait_ms = 600'000;

/// The filter: an object, empty if none is given.
Json filter_in(Arguments &arguments)
{
    const cJSON *filter = arguments.any("filter");
    if (filter && !cJSON_IsObject(filter))
        throw std::invalid_argument{
            "'filter' must be an object that entries match, such as {\"method\":\"start\"}, not " + kind_of(filter)};
    return filter ? Json::copy_of(filter) : Json::object();
}

bool is_empty(const Json &filter)
{
    return filter.get()->child == nullptr;
}

bool matches(const Json &filter, const Json &entry)
{
    return !difference(filter.get(), entry.get(), "");
}

/// Waits until an entry matches, or until the timeout.
class WaitingForEntry final : public Waiting {
public:
    WaitingForEntry(Journal &journal, Json filter, int within_ms, Reply reply)
        : filter_(std::move(filter)), within_ms_(within_ms), reply_(std::move(reply)),
          listener_(journal.listen([this](const Journal::Entry &entry) { look_at(entry.json()); }))
    {
        timer_.call_after(static_cast<unsigned>(within_ms), [this] { answer(); });
    }

    void look_at(const Json &entry)
    {
        if (found_)
            return;
        if (matches(filter_, entry)) {
            found_ = entry.copy();
            timer_.call_soon([this] { answer(); }); // later, because the command behind the entry may still run
        } else if (const int equal = agreement(filter_.get(), entry.get()); equal > max_equal_) {
            max_equal_ = equal;
            nearest_ = "entry " + text_of(cJSON_GetObjectItemCaseSensitive(entry.get(), "seq")) + ": " +
                       difference(filter_.get(), entry.get(), "").value_or("");
        }
    }

private:
    void answer()
    {
        const Reply reply = std::move(reply_); // the call may destroy this object
        if (found_)
            reply(good_reply(std::move(Json::object().set("entry", std::move(*found_)))));
        else
            reply(bad_reply("not within " + std::to_string(within_ms_) + " ms; " +
                            (nearest_.empty() ? "no entry was written" : "the nearest was " + nearest_)));
    }

    Json filter_;
    int within_ms_;
    Reply reply_;
    std::optional<Json> found_{};
    std::string nearest_{};
    int max_equal_ = -1;
    Source timer_{};
    Journal::Listener listener_;
};

} // namespace

Json journal(ControlledAgent &agent, Arguments &arguments)
{
    const int since = arguments.count("since").value_or(1);
    const int limit = arguments.count("limit").value_or(default_limit);
    const Json filter = filter_in(arguments);
    Json listed = Json::array();
    int left = limit;
    auto entry = agent.journal.from(since);
    const auto end = agent.journal.entries().end();
    for (; entry != end && left > 0; ++entry)
        if (Json one = entry->json(); matches(filter, one)) {
            listed.append(std::move(one));
            --left;
        }
    const std::int64_t next = entry == end ? agent.journal.next_seq() : entry->seq;
    return std::move(Json::object().set("entries", std::move(listed)).set("next", next));
}

Json count(ControlledAgent &agent, Arguments &arguments)
{
    const Json filter = filter_in(arguments);
    int matching = 0;
    if (is_empty(filter))
        matching = static_cast<int>(agent.journal.entries().size());
    else
        for (const Journal::Entry &entry : agent.journal.entries())
            matching += matches(filter, entry.json()) ? 1 : 0;
    return std::move(Json::object().set("count", matching));
}

Json clear(ControlledAgent &agent, Arguments &)
{
    agent.journal.clear();
    return Json::object();
}

std::unique_ptr<Waiting> wait(ControlledAgent &agent, Arguments &arguments, Reply reply)
{
    Json filter = filter_in(arguments);
    const int within_ms = arguments.count("within_ms").value_or(default_wait_ms);
    const std::optional<int> since = arguments.count("since");
    if (within_ms > max_wait_ms)
        throw std::invalid_argument{"'within_ms' is at most " + std::to_string(max_wait_ms)};
    auto waiting = std::make_unique<WaitingForEntry>(agent.journal, std::move(filter), within_ms, std::move(reply));
    if (since)
        for (auto entry = agent.journal.from(*since); entry != agent.journal.entries().end(); ++entry)
            waiting->look_at(entry->json());
    return waiting;
}

} // namespace kv::virtual_agent::command
