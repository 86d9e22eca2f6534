// SPDX-License-Identifier: Apache-2.0
// What can be asked of the journal.
#include "command_actions.hpp"

#include "agent/scenario/matching.hpp"

#include <glib.h>

#include <stdexcept>

namespace kv::virtual_agent::command {

namespace {

constexpr int most_listed = 1000; // when nothing is said of it
constexpr int patience_ms = 5000;
constexpr int longest_wait_ms = 600'000;

/// What entries must be like: an object, or nothing in particular.
Json filter_in(Arguments &arguments)
{
    const cJSON *filter = arguments.any("filter");
    if (filter && !cJSON_IsObject(filter))
        throw std::invalid_argument{
            "'filter' must be an object that entries match, such as {\"method\":\"start\"}, not " + text_of(filter)};
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

/// A number that cannot be negative.
std::optional<int> count_in(Arguments &arguments, const char *name)
{
    const std::optional<int> value = arguments.number(name);
    if (value && *value < 0)
        throw std::invalid_argument{std::string{"'"} + name + "' cannot be negative"};
    return value;
}

/// Until an entry comes that matches, or for as long as it may take.
class WaitingForEntry final : public Waiting {
public:
    WaitingForEntry(Journal &journal, Json filter, int within_ms, Reply reply)
        : filter_(std::move(filter)), within_ms_(within_ms), reply_(std::move(reply)),
          listener_(journal.listen([this](const Journal::Entry &entry) { look_at(entry.json()); }))
    {
        call_in(within_ms);
    }
    WaitingForEntry(const WaitingForEntry &) = delete;
    WaitingForEntry &operator=(const WaitingForEntry &) = delete;
    ~WaitingForEntry() override
    {
        if (source_ != 0)
            g_source_remove(source_);
    }

    void look_at(const Json &entry)
    {
        if (found_)
            return;
        if (matches(filter_, entry)) {
            found_ = entry.copy();
            g_source_remove(source_);
            call_in(0); // not at once: what is noted may be in the middle of being done
        } else if (const int equal = agreement(filter_.get(), entry.get()); equal > most_equal_) {
            most_equal_ = equal;
            nearest_ = "entry " + text_of(cJSON_GetObjectItemCaseSensitive(entry.get(), "seq")) + ": " +
                       difference(filter_.get(), entry.get(), "").value_or("");
        }
    }

private:
    void call_in(int milliseconds)
    {
        source_ = g_timeout_add(
            static_cast<guint>(milliseconds),
            [](gpointer data) -> gboolean {
                auto *self = static_cast<WaitingForEntry *>(data);
                self->source_ = 0;
                self->answer();
                return G_SOURCE_REMOVE;
            },
            this);
    }

    void answer()
    {
        const Reply reply = std::move(reply_); // what waits may go in it
        if (found_)
            reply(good_answer(std::move(Json::object().set("entry", std::move(*found_)))));
        else
            reply(bad_answer("not within " + std::to_string(within_ms_) + " ms; " +
                             (nearest_.empty() ? "nothing was noted" : "nearest was " + nearest_)));
    }

    Json filter_;
    int within_ms_;
    Reply reply_;
    std::optional<Json> found_{};
    std::string nearest_{};
    int most_equal_ = -1;
    unsigned source_ = 0;
    Journal::Listener listener_;
};

} // namespace

Json journal(Steered &agent, Arguments &arguments)
{
    const int since = count_in(arguments, "since").value_or(1);
    const int limit = count_in(arguments, "limit").value_or(most_listed);
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

Json count(Steered &agent, Arguments &arguments)
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

Json clear(Steered &agent, Arguments &)
{
    agent.journal.clear();
    return Json::object();
}

std::unique_ptr<Waiting> wait(Steered &agent, Arguments &arguments, Reply reply)
{
    Json filter = filter_in(arguments);
    const int within_ms = count_in(arguments, "within_ms").value_or(patience_ms);
    const std::optional<int> since = count_in(arguments, "since");
    if (within_ms > longest_wait_ms)
        throw std::invalid_argument{"'within_ms' is at most " + std::to_string(longest_wait_ms)};
    auto waiting = std::make_unique<WaitingForEntry>(agent.journal, std::move(filter), within_ms, std::move(reply));
    if (since)
        for (auto entry = agent.journal.from(*since); entry != agent.journal.entries().end(); ++entry)
            waiting->look_at(entry->json());
    return waiting;
}

} // namespace kv::virtual_agent::command
