// SPDX-License-Identifier: Apache-2.0
#include "play.hpp"

#include "matching.hpp"

#include <glib.h>

#include <algorithm>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t most_calls = 10'000;
constexpr std::size_t most_named_calls = 5;

const cJSON *arguments_of(const Json &facts)
{
    return cJSON_GetObjectItemCaseSensitive(facts.get(), "arguments");
}

/// In what a call is not the expected one; none when it is.
std::optional<std::string> difference_of(const Scenario::Step &step, const Json &facts)
{
    if (auto found = difference(step.arguments.get(), arguments_of(facts), ""))
        return found;
    if (cJSON_IsNull(step.answer.get()))
        return std::nullopt;
    return difference(step.answer.get(), cJSON_GetObjectItemCaseSensitive(facts.get(), "answer"), "answer");
}

/// What a step does may be told everywhere, but for these.
Json without_secrets(const cJSON *arguments)
{
    Json shown = Json::copy_of(arguments);
    cJSON *with = cJSON_GetObjectItemCaseSensitive(shown.get(), "with");
    for (const char *secret : {"password", "pin", "text", "account"})
        cJSON_DeleteItemFromObjectCaseSensitive(with, secret);
    cJSON_DeleteItemFromObjectCaseSensitive(shown.get(), "values");
    return shown;
}

} // namespace

std::string in_words(const Scenario::Step &step)
{
    const Json arguments = without_secrets(step.arguments.get());
    const std::string details = cJSON_GetArraySize(arguments.get()) > 0 ? " " + arguments.text() : "";
    switch (step.kind) {
    case Scenario::Step::Kind::command: return step.command->name + details;
    case Scenario::Step::Kind::expect: return "expect " + step.text + details;
    case Scenario::Step::Kind::until: return "until" + details;
    case Scenario::Step::Kind::wait: return "wait " + std::to_string(step.within_ms) + " ms";
    case Scenario::Step::Kind::say: return step.text;
    }
    return "";
}

Play::Play(Steered &agent, Journal &journal, Scenario scenario, Ended ended)
    : agent_(agent), journal_(journal), scenario_(std::move(scenario)), ended_(std::move(ended)),
      listener_(journal.listen([this](const Journal::Entry &entry) { heard(entry.json()); }))
{
    play_soon();
}

Play::~Play()
{
    for (unsigned source : {soon_, limit_})
        if (source != 0)
            g_source_remove(source);
}

const Scenario::Step *Play::current() const
{
    return next_ < scenario_.steps.size() ? &scenario_.steps[next_] : nullptr;
}

void Play::stop()
{
    end("it was stopped");
}

void Play::heard(const Json &facts)
{
    if (const char *method = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(facts.get(), "method"))) {
        calls_.push_back({method, facts.copy()});
        if (calls_.size() > most_calls)
            calls_.pop_front();
    }
    play_soon();
}

/// Not at once: what is heard may be in the middle of being answered.
void Play::play_soon()
{
    if (soon_ != 0)
        return;
    soon_ = g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Play *>(data);
            self->soon_ = 0;
            self->play();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
}

void Play::play()
{
    while (next_ < scenario_.steps.size()) {
        const Step &step = scenario_.steps[next_];
        if (step.is_for(agent_.state.version.number())) {
            try {
                if (!done(step)) {
                    start_waiting(step);
                    return;
                }
            } catch (const std::exception &problem) {
                end(problem.what());
                return;
            }
            if (step.kind != Step::Kind::command)
                note(step, "");
        }
        if (const unsigned limit = std::exchange(limit_, 0); limit != 0)
            g_source_remove(limit);
        waited_ = false;
        ++next_;
    }
    end("");
}

bool Play::done(const Step &step)
{
    switch (step.kind) {
    case Step::Kind::say: return true;
    case Step::Kind::wait: return waited_ || step.within_ms == 0;
    case Step::Kind::expect: return was_called(step);
    case Step::Kind::until: return state_is_so(step);
    case Step::Kind::command:
        note(step, "");
        calls_.clear(); // what is expected next is what this brings about
        run_command(agent_, *step.command, step.arguments.get());
        return true;
    }
    return true;
}

bool Play::was_called(const Step &step)
{
    const auto found = std::find_if(calls_.begin(), calls_.end(), [&](const SeenCall &call) {
        return call.method == step.text && !difference_of(step, call.facts);
    });
    if (found == calls_.end())
        return false;
    calls_.erase(found);
    return true;
}

bool Play::state_is_so(const Step &step)
{
    const Json state = view_of(agent_);
    for (const cJSON *wanted = step.arguments.get()->child; wanted; wanted = wanted->next) {
        Json count;
        if (auto found = difference(wanted, find_path(state.get(), wanted->string, count), wanted->string)) {
            last_difference_ = *found;
            return false;
        }
    }
    return true;
}

std::string Play::nearest_call(const Step &step) const
{
    const Json *nearest = nullptr;
    int most = -1;
    for (const SeenCall &call : calls_)
        if (const int equal = agreement(step.arguments.get(), arguments_of(call.facts));
            call.method == step.text && equal > most) {
            most = equal;
            nearest = &call.facts;
        }
    if (nearest)
        return "it was called otherwise: " + difference_of(step, *nearest).value_or("");
    if (calls_.empty())
        return "nothing was called";
    std::string names;
    for (std::size_t i = 0; i < std::min(calls_.size(), most_named_calls); ++i)
        names += (i == 0 ? "" : ", ") + calls_[i].method;
    return "instead came " + names + (calls_.size() > most_named_calls ? ", ..." : "");
}

void Play::start_waiting(const Step &step)
{
    if (limit_ != 0)
        return;
    limit_ = g_timeout_add(
        static_cast<guint>(step.within_ms),
        [](gpointer data) -> gboolean {
            auto *self = static_cast<Play *>(data);
            self->limit_ = 0;
            self->time_is_up();
            return G_SOURCE_REMOVE;
        },
        this);
}

void Play::time_is_up()
{
    if (!current())
        return;
    const Step &step = scenario_.steps[next_];
    if (step.kind == Step::Kind::wait) {
        waited_ = true;
        play();
        return;
    }
    if (step.kind == Step::Kind::until && state_is_so(step)) { // by the clock alone, which the journal does not tell
        play();
        return;
    }
    end("not within " + std::to_string(step.within_ms) + " ms; " +
        (step.kind == Step::Kind::expect ? nearest_call(step) : last_difference_));
}

void Play::note(const Step &step, const std::string &problem)
{
    Json facts = Json::object();
    facts.set("scenario", scenario_.title).set("line", step.line).set("step", in_words(step));
    facts.set("ok", problem.empty());
    if (!problem.empty())
        facts.set("problem", problem);
    journal_.write(Journal::now(), facts,
                   "step    " + in_words(step) + (problem.empty() ? "" : "  [failed: " + problem + "]"));
}

void Play::end(const std::string &problem)
{
    std::string told;
    if (!problem.empty()) {
        const Step &step = scenario_.steps[next_];
        note(step, problem);
        told = (step.file.empty() ? "line " : step.file + ", line ") + std::to_string(step.line) + ", " +
               in_words(step) + ": " + problem;
    }
    next_ = scenario_.steps.size();
    if (const Ended ended = std::exchange(ended_, nullptr))
        ended(told);
}

} // namespace kv::virtual_agent
