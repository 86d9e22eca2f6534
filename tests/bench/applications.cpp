// SPDX-License-Identifier: Apache-2.0
#include "applications.hpp"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <stdexcept>
#include <thread>

namespace bench {

namespace {

constexpr int many = 200;
constexpr int seconds = 5;
constexpr int events_to_send = 50;
constexpr auto between_events = std::chrono::milliseconds{50};
constexpr double least_of_one = 0.5;  // of what one application alone gets done
constexpr double least_of_mean = 0.5; // that the slowest of many gets done
constexpr double most_idle_mb = 8;    // private to an agent that serves nobody
constexpr double most_kb_of_connection = 64;

/// What the process has for itself, in kB.
double private_kb(pid_t pid)
{
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    double sum = 0;
    for (std::string line; std::getline(file, line);) {
        double kb = 0;
        if (sscanf(line.c_str(), "Private_Clean: %lf", &kb) == 1 ||
            sscanf(line.c_str(), "Private_Dirty: %lf", &kb) == 1)
            sum += kb;
    }
    return sum;
}

struct Share {
    long calls = 0;
    long events = 0;
    long long longest_us = 0;
};

struct Outcome {
    std::vector<Share> shares;
    double agent_kb = 0; // with all of them connected

    double calls_per_second() const
    {
        const long calls = std::accumulate(shares.begin(), shares.end(), 0L,
                                           [](long sum, const Share &share) { return sum + share.calls; });
        return static_cast<double>(calls) / seconds;
    }
    template <class T>
    T least(T Share::*figure) const
    {
        const auto less = [figure](const Share &a, const Share &b) { return a.*figure < b.*figure; };
        return (*std::min_element(shares.begin(), shares.end(), less)).*figure;
    }
    long long longest_us() const
    {
        const auto less = [](const Share &a, const Share &b) { return a.longest_us < b.longest_us; };
        return std::max_element(shares.begin(), shares.end(), less)->longest_us;
    }
};

Outcome run_applications(Child &agent, int count)
{
    std::vector<std::unique_ptr<Child>> applications;
    for (int i = 0; i < count; ++i)
        applications.push_back(
            std::make_unique<Child>(std::vector{program("korvane-bench-application"), std::to_string(seconds)}));
    for (const auto &application : applications)
        application->read_line();

    Outcome outcome;
    outcome.agent_kb = private_kb(agent.pid());
    for (const auto &application : applications)
        kill(application->pid(), SIGUSR1);
    for (int sent = 0; sent < events_to_send; ++sent) {
        std::this_thread::sleep_for(between_events);
        agent.write_line("emit status_changed_cb [1]");
        agent.read_line();
    }
    for (const auto &application : applications) {
        const std::string line = application->finish();
        Share share;
        if (sscanf(line.c_str(), "%ld %ld %lld", &share.calls, &share.events, &share.longest_us) != 3)
            throw std::runtime_error("an application printed: " + line);
        outcome.shares.push_back(share);
    }
    return outcome;
}

} // namespace

void measure_applications(const Setting &setting, Report &report)
{
    report.section(format("%d applications at one virtual agent, each calling it and hearing its events", many));
    if (!has_virtual_agent())
        return report.not_measured("applications", "this build has no virtual agent");
    const auto agent = setting.serve_commands();
    agent->write_line("state version");
    agent->read_line();
    const double idle_kb = private_kb(agent->pid());
    const Outcome alone = run_applications(*agent, 1);
    const Outcome together = run_applications(*agent, many);

    const double rate = together.calls_per_second() / alone.calls_per_second();
    report.row("one application alone", format("%9.0f calls/s", alone.calls_per_second()));
    report.row("all together", format("%9.0f calls/s  %5.2f x", together.calls_per_second(), rate),
               format(">= %.2f x one", least_of_one), rate >= least_of_one);
    const double mean = together.calls_per_second() * seconds / many;
    const double slowest = static_cast<double>(together.least(&Share::calls)) / mean;
    report.row("the slowest of them beside the mean", format("%5.2f x", slowest), format(">= %.2f x", least_of_mean),
               slowest >= least_of_mean);
    report.row("longest wait for one call", format("%7.1f ms", static_cast<double>(together.longest_us()) / 1000));
    const long heard = together.least(&Share::events);
    report.row(format("events heard by each, of %d", events_to_send), format("%ld", heard), "all",
               heard == events_to_send);
    const double kb = (together.agent_kb - idle_kb) / many;
    report.row("private memory of the agent, per connection", format("%7.1f kB", kb),
               format("<= %.0f kB", most_kb_of_connection), kb <= most_kb_of_connection);
    report.row("private memory of the agent, idle", format("%7.2f MB", idle_kb / 1024),
               format("<= %.0f MB", most_idle_mb), idle_kb / 1024 <= most_idle_mb);
}

} // namespace bench
