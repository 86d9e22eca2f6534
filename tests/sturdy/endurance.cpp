// SPDX-License-Identifier: Apache-2.0
// Agents that are killed while an application calls them, and a long run of calls and events. Neither may take memory or
// descriptors that it does not give back.
#include "e2e/fixtures/application.hpp"
#include "sturdy.hpp"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <thread>

#include <malloc.h>
#include <poll.h>
#include <unistd.h>

namespace kv::sturdy {

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool memory_is_returned = false; // the sanitizer keeps released memory for a while
#else
constexpr bool memory_is_returned = true;
#endif

using test::AgentProcess;
using test::Application;

int device_id(korvane_h handle)
{
    char *id = nullptr;
    const int result = korvane_get_device_id(handle, &id);
    std::free(id);
    return result;
}

/// Calls until a call fails, and returns the time from the kill to that failure. The kill comes at a different moment of a
/// call each time.
Clock::duration kill_under_load(const Application &application, const AgentProcess &agent, int cycle)
{
    Clock::time_point killed;
    std::thread killer{[&] {
        std::this_thread::sleep_for(std::chrono::microseconds{500 + cycle * 37 % 1000});
        killed = Clock::now();
        agent.signal(SIGKILL);
    }};
    while (device_id(application.handle) == KORVANE_ERROR_NONE)
        continue;
    const auto failed = Clock::now();
    killer.join();
    return std::max<Clock::duration>(failed - killed, Clock::duration::zero());
}

} // namespace

Outcome restart_agents(Form form)
{
    const test::AgentHome home;
    const int cycles = form == Form::brief ? 200 : 10'000;
    const int warm_up = cycles / 4;
    Outcome outcome;
    Times times;
    long resident = 0;
    int descriptors = 0;
    for (int i = 0; i < cycles; ++i) {
        {
            const AgentProcess agent{home};
            Application application;
            if (!application.connect()) {
                outcome.failures.push_back(format("no connection in cycle %d", i));
                break;
            }
            times.add(kill_under_load(application, agent, i));
            if (!application.wait_for_changes(2))
                outcome.failures.push_back(format("no notice of the end in cycle %d", i));
        }
        if (i == warm_up) {
            ::malloc_trim(0);
            resident = resident_kib(::getpid());
            descriptors = descriptors_of(::getpid());
        }
    }
    ::malloc_trim(0);
    const long growth = resident_kib(::getpid()) - resident;
    const int leaked = descriptors_of(::getpid()) - descriptors;
    outcome.line =
        format("%zu kills, failing call after %.1f ms (median), %.1f ms (99 %%), %.1f ms (slowest); memory %+ld KiB, "
               "descriptors %+d",
               times.count(), times.quantile(0.5), times.quantile(0.99), times.quantile(1), growth, leaked);
    if (times.quantile(1) > std::chrono::duration<double, std::milli>(hang).count())
        outcome.failures.push_back("a call did not end with its agent");
    if (memory_is_returned && growth > 512)
        outcome.failures.push_back("the application grows");
    if (leaked != 0)
        outcome.failures.push_back("descriptors stay open");
    if (form == Form::extended && times.quantile(0.99) > 10)
        outcome.failures.push_back("1 of 100 failing calls takes more than 10 ms");
    return outcome;
}

Outcome soak(Form form)
{
    constexpr int calls_per_round = 100;
    constexpr int events_per_round = 10;
    constexpr std::chrono::milliseconds round{100};
    const auto duration = form == Form::brief ? std::chrono::seconds{15} : std::chrono::seconds{3600};
    const test::AgentHome home;
    AgentProcess agent{home};
    Application application;
    Outcome outcome;
    int events = 0;
    long calls = 0;
    const auto count_event = [](korvane_h, int, void *data) { ++*static_cast<int *>(data); };
    if (!application.connect() ||
        korvane_set_status_changed_cb(application.handle, count_event, &events) != KORVANE_ERROR_NONE) {
        outcome.failures.push_back("no connection");
        return outcome;
    }
    // The journal of the agent is full, and all pages of both are touched, after the first half.
    const auto begin = Clock::now();
    long own = 0;
    long agents = 0;
    int descriptors = 0;
    int failed = 0;
    int sent = 0;
    bool is_second_half = false;
    while (Clock::now() - begin < duration) {
        const auto next = Clock::now() + round;
        for (int i = 0; i < calls_per_round; ++i, ++calls)
            failed += device_id(application.handle) == KORVANE_ERROR_NONE ? 0 : 1;
        for (int i = 0; i < events_per_round; ++i, ++sent)
            agent.run_command("emit status_changed_cb [1]");
        if (!test::run_main_loop_until([&] { return events == sent; }))
            outcome.failures.push_back("an event is missing");
        if (!is_second_half && Clock::now() - begin > duration / 2) {
            is_second_half = true;
            ::malloc_trim(0);
            own = resident_kib(::getpid());
            agents = resident_kib(agent.pid());
            descriptors = descriptors_of(::getpid()) + descriptors_of(agent.pid());
        }
        std::this_thread::sleep_until(next);
    }
    ::malloc_trim(0);
    own = resident_kib(::getpid()) - own;
    agents = resident_kib(agent.pid()) - agents;
    descriptors = descriptors_of(::getpid()) + descriptors_of(agent.pid()) - descriptors;
    outcome.line = format("%ld s, %ld calls, %d events, %d failed; second half: application %+ld KiB, agent %+ld KiB, "
                          "descriptors %+d",
                          static_cast<long>(duration.count()), calls, events, failed, own, agents, descriptors);
    if (failed > 0)
        outcome.failures.push_back("calls failed");
    if (memory_is_returned && own > 256)
        outcome.failures.push_back("the application grows");
    if (form == Form::extended && agents > 1024)
        outcome.failures.push_back("the agent grows");
    if (descriptors != 0)
        outcome.failures.push_back("descriptors stay open");
    return outcome;
}

} // namespace kv::sturdy
