// SPDX-License-Identifier: Apache-2.0
#include "agent.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/one_cpu.hpp"
#include "bench/support/processes.hpp"

#include <chrono>

namespace kv::test {

namespace {

constexpr int rounds = 41; // odd, so that the median is one of the samples
constexpr double max_ready_ms = 5;
constexpr double max_idle_mb = 4;

/// Milliseconds until a server has started and printed that it listens.
template <class Serve>
double start_once(Serve serve)
{
    const auto start = std::chrono::steady_clock::now();
    const std::unique_ptr<ChildProcess> server = serve();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void measure_agent_start(const Setting &setting, Report &report)
{
    const OnOneCpu pinned;
    std::vector<double> bare;
    std::vector<double> agent;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(start_once([&] { return setting.serve(peer::glib); }));
        agent.push_back(start_once([&] { return setting.serve_second_agent(); }));
    }
    report.section("From the start of a server to its line that it is ready, on one CPU");
    report.row("bare, server in a GLib loop", format("%7.2f ms", median(bare)));
    report.row("virtual agent", format("%7.2f ms  %5.2f x bare", median(agent), median_ratio(agent, bare)),
               format("<= %.0f ms", max_ready_ms), median(agent) <= max_ready_ms);
}

void measure_idle_memory(const Setting &setting, Report &report)
{
    // A second agent shares the pages of the libraries, as the agents of a fleet do.
    const auto first = setting.serve(AgentKind::virtual_agent);
    const auto agent = setting.serve_second_agent();
    const double mb = private_kb(agent->pid()) / 1024;
    report.section("Memory of a virtual agent without applications");
    report.row("private", format("%7.2f MB", mb), format("<= %.0f MB", max_idle_mb), mb <= max_idle_mb);
}

} // namespace

void measure_agent(const Setting &setting, Report &report)
{
    if (!has_virtual_agent()) {
        report.section("The virtual agent");
        return report.not_measured("start, memory", "this build has no virtual agent");
    }
    measure_agent_start(setting, report);
    measure_idle_memory(setting, report);
}

} // namespace kv::test
