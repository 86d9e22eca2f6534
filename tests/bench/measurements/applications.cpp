// SPDX-License-Identifier: Apache-2.0
#include "applications.hpp"

#include "bench/support/processes.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <thread>

namespace kv::test {

namespace {

constexpr int many = 200;
constexpr int seconds = 5;
constexpr int events_to_send = 50;
constexpr auto between_events = std::chrono::milliseconds{50};
constexpr double min_of_one = 0.5;  // rate of all applications, compared with that of one alone
constexpr double min_of_mean = 0.5; // calls of the slowest application, compared with the mean
constexpr double max_kb_of_connection = 64;

struct Share {
    long calls = 0;
    long events = 0;
    long long max_us = 0;
};

struct Outcome {
    std::vector<Share> shares;
    double agent_kb = 0; // while all are connected

    double calls_per_second() const
    {
        const long calls = std::accumulate(shares.begin(), shares.end(), 0L,
                                           [](long sum, const Share &share) { return sum + share.calls; });
        return static_cast<double>(calls) / seconds;
    }
    template <class T>
    T min(T Share::*figure) const
    {
        const auto less = [figure](const Share &a, const Share &b) { return a.*figure < b.*figure; };
        return (*std::min_element(shares.begin(), shares.end(), less)).*figure;
    }
    long long max_us() const
    {
        const auto less = [](const Share &a, const Share &b) { return a.max_us < b.max_us; };
        return std::max_element(shares.begin(), shares.end(), less)->max_us;
    }
};

Outcome run_applications(ChildProcess &agent, int count)
{
    std::vector<std::unique_ptr<ChildProcess>> applications;
    for (int i = 0; i < count; ++i)
        applications.push_back(start({program("korvane-bench-application"), std::to_string(seconds)}));
    for (const auto &application : applications)
        next_line(*application);

    Outcome outcome;
    outcome.agent_kb = private_kb(agent.pid());
    for (const auto &application : applications)
        kill(application->pid(), SIGUSR1);
    for (int sent = 0; sent < events_to_send; ++sent) {
        std::this_thread::sleep_for(between_events);
        agent.write_line("emit status_changed_cb [1]");
        next_line(agent);
    }
    for (const auto &application : applications) {
        const std::string line = rest_of_output(*application);
        Share share;
        if (sscanf(line.c_str(), "%ld %ld %lld", &share.calls, &share.events, &share.max_us) != 3)
            throw std::runtime_error("an application printed: " + line);
        outcome.shares.push_back(share);
    }
    return outcome;
}

} // namespace

void measure_applications(const Setting &setting, Report &report)
{
    report.section(format("%d applications at one virtual agent, each calling it and receiving its events", many));
    if (!has_virtual_agent())
        return report.not_measured("applications", "this build has no virtual agent");
    const auto agent = setting.serve_commands();
    agent->write_line("state version");
    next_line(*agent);
    const double idle_kb = private_kb(agent->pid());
    const Outcome alone = run_applications(*agent, 1);
    const Outcome together = run_applications(*agent, many);

    const double rate = together.calls_per_second() / alone.calls_per_second();
    report.row("one application alone", format("%9.0f calls/s", alone.calls_per_second()));
    report.row("all together", format("%9.0f calls/s  %5.2f x", together.calls_per_second(), rate),
               format(">= %.2f x one", min_of_one), rate >= min_of_one);
    const double mean = together.calls_per_second() * seconds / many;
    const double slowest = static_cast<double>(together.min(&Share::calls)) / mean;
    report.row("the slowest, compared with the mean", format("%5.2f x", slowest), format(">= %.2f x", min_of_mean),
               slowest >= min_of_mean);
    report.row("longest wait for one call", format("%7.1f ms", static_cast<double>(together.max_us()) / 1000));
    const long received = together.min(&Share::events);
    report.row(format("events received by each, of %d", events_to_send), format("%ld", received), "all",
               received == events_to_send);
    const double kb = (together.agent_kb - idle_kb) / many;
    report.row("private memory of the agent, per connection", format("%7.1f kB", kb),
               format("<= %.0f kB", max_kb_of_connection), kb <= max_kb_of_connection);
}

} // namespace kv::test
