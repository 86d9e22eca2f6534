// SPDX-License-Identifier: Apache-2.0
// Agents that are killed while an application calls them. The application may not take memory or descriptors that it does not
// give back.
#include "e2e/fixtures/application.hpp"
#include "sturdy.hpp"

#include <algorithm>
#include <csignal>
#include <thread>

#include <malloc.h>
#include <poll.h>
#include <unistd.h>

namespace kv::sturdy {

namespace {

using test::AgentProcess;
using test::Application;

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
    while (call_agent(application.handle) == KORVANE_ERROR_NONE)
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

} // namespace kv::sturdy
