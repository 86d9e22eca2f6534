// SPDX-License-Identifier: Apache-2.0
#include "start.hpp"

#include "bench/clients/clients.hpp"

#include <cstdio>
#include <stdexcept>

#include <time.h>

namespace kv::test {

namespace {

constexpr int rounds = 41; // odd, so that the median is one of the samples
constexpr double max_over_bare = 1.6;
constexpr double max_resident_mb = 4.9;

/// A program that is started in every round. It prints the time of its first reply in nanoseconds of the monotonic clock
/// and its resident memory in KiB, and ends.
struct StartedProgram {
    const char *title;
    std::vector<std::string> command;
    Environment environment = {};
    std::vector<double> us = {};
    std::vector<double> resident_kb = {};

    void start_once()
    {
        timespec before{};
        clock_gettime(CLOCK_MONOTONIC, &before);
        const std::string output = run(command, environment);
        long long replied_ns = 0;
        long kb = 0;
        if (sscanf(output.c_str(), "%lld %ld", &replied_ns, &kb) != 2)
            throw std::runtime_error(command[0] + " printed: " + output);
        const long long before_ns = before.tv_sec * 1'000'000'000LL + before.tv_nsec;
        us.push_back(static_cast<double>(replied_ns - before_ns) / 1000);
        resident_kb.push_back(static_cast<double>(kb));
    }

    /// Loads the files into the page cache. Its figures do not count.
    void warm_up()
    {
        start_once();
        us.clear();
        resident_kb.clear();
    }

    double resident_mb() const { return median(resident_kb) / 1000 * 1.024; }
};

} // namespace

void measure_start(const Setting &setting, AgentKind agent, Report &report)
{
    const OnOneCpu pinned;
    const auto bare_server = setting.serve(peer::bare);
    const auto agent_server = setting.serve(agent);
    const bool has_bus = getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr;

    StartedProgram bare{"bare client that links GLib",
                        {program("korvane-bench-start-bare"), socket_path(peer::bare, setting.folder())}};
    StartedProgram with_bus{"korvane, with a bus", {program("korvane-bench-start")}};
    StartedProgram without_bus{"korvane, without a bus",
                               {program("korvane-bench-start")},
                               {{"KORVANE_BUS", "unix:path=/nonexistent"}, {"KORVANE_LOG", "off"}}};
    bare.warm_up();
    if (has_bus)
        with_bus.warm_up();
    without_bus.warm_up();
    for (int round = 0; round < rounds; ++round) {
        bare.start_once();
        if (has_bus)
            with_bus.start_once();
        without_bus.start_once();
    }

    const auto figures = [&](const StartedProgram &starter) {
        return format("%7.0f us  %5.2f x bare", median(starter.us), median_ratio(starter.us, bare.us));
    };
    report.section("From process start to the first reply, on one CPU");
    report.row(bare.title, figures(bare));
    report.row(without_bus.title, figures(without_bus));
    const std::string time_aim = format("<= %.1f x bare", max_over_bare);
    const std::string memory_aim = format("<= %.1f MB", max_resident_mb);
    if (has_bus) {
        const double ratio = median_ratio(with_bus.us, bare.us);
        report.row(with_bus.title, figures(with_bus), time_aim, ratio <= max_over_bare);
    } else {
        report.not_measured(with_bus.title, "there is no session bus here");
    }

    report.section("Resident at the first reply");
    report.row(bare.title, format("%7.2f MB", bare.resident_mb()));
    report.row(without_bus.title, format("%7.2f MB", without_bus.resident_mb()));
    if (has_bus)
        report.row(with_bus.title, format("%7.2f MB", with_bus.resident_mb()), memory_aim,
                   with_bus.resident_mb() <= max_resident_mb);
    else
        report.not_measured(with_bus.title, "there is no session bus here");
}

} // namespace kv::test
