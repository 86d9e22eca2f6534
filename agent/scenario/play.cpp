// SPDX-License-Identifier: Apache-2.0
#include "play.hpp"

#include "agent/json/matching.hpp"
#include "shown_step.hpp"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr std::size_t max_calls = 10'000;
constexpr std::size_t max_named_calls = 5;

const cJSON *arguments_of(const Json &facts)
{
    return cJSON_GetObjectItemCaseSensitive(facts.get(), "arguments");
}

/// Describes how a call of the expected method differs from the expected one; nothing if it matches.
std::optional<std::string> difference_of(const Scenario::Step &step, const Scenario::Step::Request &request,
                                         const Json &facts)
{
    if (auto found = difference(request.arguments.get(), arguments_of(facts), ""))
        return found;
    if (cJSON_IsNull(step.answer.get()))
        return std::nullopt;
    return difference(step.answer.get(), cJSON_GetObjectItemCaseSensitive(facts.get(), "answer"), "answer");
}

/// The same in words. A secret that differs is not shown.
std::string difference_in_words(const Scenario::Step &step, const Scenario::Step::Request &request, const Json &facts)
{
    const cJSON *actual = arguments_of(facts);
    if (auto found = difference(shown_expectation(request.arguments.get(), actual).get(), actual, ""))
        return *found;
    if (difference(request.arguments.get(), actual, ""))
        return "a secret differs; it can be compared in its masked form only";
    return difference_of(step, request, facts).value_or("");
}

} // namespace

Play::Play(ControlledAgent &agent, Scenario scenario, Ended ended)
    : agent_(agent), scenario_(std::move(scenario)), ended_(std::move(ended)),
      listener_(agent.journal.listen([this](const Journal::Entry &entry) { on_entry(entry.json()); }))
{
    play_soon();
}

const Scenario::Step *Play::current() const
{
    return next_ < scenario_.steps.size() ? &scenario_.steps[next_] : nullptr;
}

void Play::stop()
{
    if (const Step *step = current())
        fail(*step, "it was stopped");
}

void Play::on_entry(const Json &facts)
{
    if (const char *method = cJSON_GetStringValue(cJSON_GetObjectItemCaseSensitive(facts.get(), "method"))) {
        calls_.push_back({method, facts.copy()});
        if (calls_.size() > max_calls)
            calls_.pop_front();
        look_for_forbidden(calls_.back());
    }
    play_soon();
}

void Play::look_for_forbidden(const SeenCall &call)
{
    const auto is_met = [&](const Step *step) {
        const Step::Request *request = step->request_to(version());
        return request && call.method == request->method && !difference_of(*step, *request, call.facts);
    };
    const auto found = std::find_if(forbidden_.begin(), forbidden_.end(), is_met);
    if (found != forbidden_.end() && !violated_)
        violated_ = *found;
}

/// Later, because the request behind the entry may not be answered yet.
void Play::play_soon()
{
    if (!soon_.is_active())
        soon_.call_soon([this] { play(); });
}

void Play::play()
{
    while (next_ < scenario_.steps.size()) {
        if (violated_)
            return fail(*violated_, "it was called");
        const Step &step = scenario_.steps[next_];
        if (begun_us_ == 0)
            begun_us_ = g_get_monotonic_time();
        if (step.applies_to(version())) {
            try {
                if (!is_done(step)) {
                    start_waiting(step);
                    return;
                }
            } catch (const std::exception &problem) {
                return fail(step, problem.what());
            }
            if (step.kind != Step::Kind::command)
                note(step, "");
        }
        timeout_.cancel();
        waited_ = false;
        begun_us_ = 0;
        ++next_;
    }
    end("");
}

bool Play::is_done(const Step &step)
{
    switch (step.kind) {
    case Step::Kind::say: return true;
    case Step::Kind::wait: return waited_ || step.within_ms == 0;
    case Step::Kind::expect: return was_called(step);
    case Step::Kind::never: forbidden_.push_back(&step); return true;
    case Step::Kind::until:
        if (!state_matches(step))
            return false;
        must_not_be_early(step);
        return true;
    case Step::Kind::command:
        note(step, "");
        if (!step.keeps_calls)
            calls_.clear(); // later expectations are about calls after this command
        run_command(agent_, *step.command, step.arguments.get());
        return true;
    }
    return true;
}

bool Play::was_called(const Step &step)
{
    const Step::Request *request = step.request_to(version());
    if (!request) // another version was installed meanwhile
        return false;
    const auto found = std::find_if(calls_.begin(), calls_.end(), [&](const SeenCall &call) {
        return call.method == request->method && !difference_of(step, *request, call.facts);
    });
    if (found == calls_.end())
        return false;
    must_not_be_early(step);
    calls_.erase(found);
    return true;
}

void Play::must_not_be_early(const Step &step) const
{
    const std::int64_t passed_ms = (g_get_monotonic_time() - begun_us_) / 1000;
    if (passed_ms < step.not_before_ms)
        throw std::runtime_error{"it came after " + std::to_string(passed_ms) + " ms, not after " +
                                 std::to_string(step.not_before_ms) + " ms or more"};
}

bool Play::state_matches(const Step &step)
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
    const Step::Request *request = step.request_to(version());
    if (!request)
        return "agent " + agent_.state.version.text() + " does not have it";
    const Json *nearest = nullptr;
    int most = -1;
    for (const SeenCall &call : calls_)
        if (const int equal = agreement(request->arguments.get(), arguments_of(call.facts));
            call.method == request->method && equal > most) {
            most = equal;
            nearest = &call.facts;
        }
    if (nearest)
        return "it was called with other values: " + difference_in_words(step, *request, *nearest);
    if (calls_.empty())
        return "nothing was called";
    std::string names;
    for (std::size_t i = 0; i < std::min(calls_.size(), max_named_calls); ++i)
        names += (i == 0 ? "" : ", ") + calls_[i].method;
    return "called instead: " + names + (calls_.size() > max_named_calls ? ", ..." : "");
}

void Play::start_waiting(const Step &step)
{
    if (!timeout_.is_active())
        timeout_.call_after(static_cast<unsigned>(step.within_ms), [this] { time_out(); });
}

void Play::time_out()
{
    if (!current())
        return;
    const Step &step = scenario_.steps[next_];
    if (step.kind == Step::Kind::wait) {
        waited_ = true;
        play();
        return;
    }
    if (step.kind == Step::Kind::until && state_matches(step)) { // the clock may have changed it without an entry
        play();
        return;
    }
    fail(step, "not within " + std::to_string(step.within_ms) + " ms; " +
                   (step.kind == Step::Kind::expect ? nearest_call(step) : last_difference_));
}

void Play::note(const Step &step, const std::string &problem)
{
    Json facts = Json::object();
    facts.set("scenario", scenario_.title);
    if (!step.included_by.empty())
        facts.set("file", std::filesystem::path{step.file}.filename().string());
    facts.set("line", step.line).set("step", in_words(step));
    facts.set("ok", problem.empty());
    if (!problem.empty())
        facts.set("problem", problem);
    agent_.journal.write(Journal::now(), facts,
                         "step    " + in_words(step) + (problem.empty() ? "" : "  [failed: " + problem + "]"));
}

void Play::fail(const Step &step, const std::string &problem)
{
    note(step, problem);
    end((step.file.empty() ? "line " : step.file + ", line ") + std::to_string(step.line) + step.included_by + ", " +
        in_words(step) + ": " + problem);
}

void Play::end(const std::string &failure)
{
    next_ = scenario_.steps.size();
    if (const Ended ended = std::exchange(ended_, nullptr))
        ended(failure);
}

} // namespace kv::virtual_agent
