// SPDX-License-Identifier: Apache-2.0
// A long run of calls and events. In each period the agent is updated once and killed once. No call may fail while an agent
// serves, no event may be lost, and memory and descriptors must stay as they are.
#include "e2e/fixtures/application.hpp"
#include "sturdy.hpp"

#include <algorithm>
#include <csignal>
#include <memory>
#include <thread>

#include <malloc.h>
#include <unistd.h>

namespace kv::sturdy {

namespace {

using test::AgentProcess;
using test::Application;

constexpr int calls_per_round = 100;
constexpr int events_per_round = 10;
constexpr std::chrono::milliseconds round_time{100};

/// An application and its agent, which is updated and replaced.
class Soak {
public:
    explicit Soak(Outcome &outcome) : outcome_(outcome) {}

    bool begin()
    {
        agent_ = std::make_unique<AgentProcess>(home_);
        return connect();
    }

    void run_round()
    {
        const auto next = Clock::now() + round_time;
        for (int i = 0; i < calls_per_round; ++i, ++calls)
            failed += call_agent(application_.handle) == KORVANE_ERROR_NONE ? 0 : 1;
        for (int i = 0; i < events_per_round; ++i, ++events)
            agent_->run_command("emit status_changed_cb [1]");
        if (!test::run_main_loop_until([&] { return received_ == events; }))
            outcome_.failures.push_back("an event is missing");
        std::this_thread::sleep_until(next);
    }

    /// Replaces the agent by the same version, as the service manager does.
    bool update()
    {
        ++updates;
        agent_->run_command("update start");
        agent_->run_command("update install");
        if (!application_.wait_for_changes(application_.changes.size() + 1))
            return fail("no notice of the end during an update");
        agent_->run_command("update complete");
        // The library makes no request until it receives the end of the update.
        if (!test::run_main_loop_until(
                [&] { return call_agent(application_.handle) != KORVANE_ERROR_SERVICE_UNAVAILABLE; }))
            return fail("the end of an update does not arrive");
        return reconnect();
    }

    bool restart()
    {
        ++restarts;
        agent_->signal(SIGKILL);
        if (!application_.wait_for_changes(application_.changes.size() + 1))
            return fail("no notice of the end of an agent");
        agent_.reset(); // its directory serves the next one
        agent_ = std::make_unique<AgentProcess>(home_);
        return reconnect();
    }

    long agents_memory() const { return resident_kib(agent_->pid()); }
    int descriptors() const { return descriptors_of(::getpid()) + descriptors_of(agent_->pid()); }

    long calls = 0;
    int events = 0;
    int failed = 0;
    int updates = 0;
    int restarts = 0;

private:
    bool fail(const char *what)
    {
        outcome_.failures.push_back(what);
        return false;
    }

    bool connect()
    {
        const auto count = [](korvane_h, int, void *data) { ++*static_cast<int *>(data); };
        application_.changes.clear(); // it would grow with each connection
        return (application_.connect() &&
                korvane_set_status_changed_cb(application_.handle, count, &received_) == KORVANE_ERROR_NONE) ||
               fail("no connection");
    }

    bool reconnect()
    {
        application_.deinitialize();
        return connect();
    }

    Outcome &outcome_;
    test::AgentHome home_{};
    std::unique_ptr<AgentProcess> agent_{};
    Application application_{};
    int received_ = 0;
};

} // namespace

Outcome soak(Form form)
{
    const bool is_brief = form == Form::brief;
    const auto duration = std::chrono::seconds{is_brief ? 20 : 3600};
    const auto period = std::chrono::seconds{is_brief ? 10 : 60};
    Outcome outcome;
    Soak run{outcome};
    bool works = run.begin();
    const auto begin = Clock::now();
    auto next_update = begin + period / 2;
    auto next_restart = begin + period;
    long own = 0;
    long young_agent = 0;
    long agents_growth = 0; // the most of any agent between its update, when its journal is full, and its end
    int descriptors = 0;
    bool is_second_half = false;
    while (works && Clock::now() - begin < duration) {
        run.run_round();
        if (!is_second_half && Clock::now() - begin > duration / 2) {
            is_second_half = true;
            ::malloc_trim(0);
            own = resident_kib(::getpid());
            descriptors = run.descriptors();
        }
        if (Clock::now() >= next_update) {
            next_update += period;
            works = run.update();
            young_agent = run.agents_memory(); // the first announcement loads the message bus, about 3 MB, once
        } else if (Clock::now() >= next_restart) {
            next_restart += period;
            agents_growth = std::max(agents_growth, run.agents_memory() - young_agent);
            works = run.restart();
        }
    }
    ::malloc_trim(0);
    own = resident_kib(::getpid()) - own;
    if (works)
        descriptors = run.descriptors() - descriptors;
    outcome.line =
        format("%ld s, %ld calls, %d events, %d updates, %d restarts, %d failed; second half: application %+ld KiB, "
               "descriptors %+d; an agent grows by %ld KiB at most",
               static_cast<long>(duration.count()), run.calls, run.events, run.updates, run.restarts, run.failed, own,
               descriptors, agents_growth);
    if (run.failed > 0)
        outcome.failures.push_back("calls failed");
    if (run.updates == 0 || run.restarts == 0)
        outcome.failures.push_back("no update or no restart");
    if (memory_is_returned && own > 256)
        outcome.failures.push_back("the application grows");
    if (!is_brief && agents_growth > 1024)
        outcome.failures.push_back("an agent grows");
    if (descriptors != 0)
        outcome.failures.push_back("descriptors stay open");
    return outcome;
}

} // namespace kv::sturdy
