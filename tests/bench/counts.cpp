// SPDX-License-Identifier: Apache-2.0
#include "counts.hpp"

#include "clients.hpp"
#include "runs.hpp"
#include "trace.hpp"

#include <cmath>

namespace bench {

namespace {

constexpr double most_instructions = 1000;
constexpr int traced_calls = 500;

/// A peer with its server and what the counts of its calls should be.
struct Counted {
    const char *name;
    const char *title;
    double most_allocations = -1; // no aim below zero

    bool is_ours() const { return most_allocations >= 0; }
};

constexpr Counted counted[] = {{peer::bare, "bare"},
                               {peer::sdbus, "sd-bus, peer to peer"},
                               {peer::proxy, "get_device_id through the proxy", 1}, // the text that is handed out
                               {peer::api, "korvane_start", 0}};

std::unique_ptr<Child> server_of(const Setting &setting, const Counted &peer)
{
    return peer.is_ours() ? setting.serve(AgentKind::stub) : setting.serve(peer.name);
}

void measure_instructions(const Setting &setting, Report &report)
{
    constexpr int few = 500;
    constexpr int many = 2500;
    report.section("Instructions of the client in user space, per call");
    for (const auto &peer : counted) {
        const auto server = server_of(setting, peer);
        const double per_call = instructions_per_call(setting, peer.name, few, many);
        if (peer.is_ours())
            report.row(peer.title, format("%7.0f", per_call), format("<= %.0f", most_instructions),
                       per_call <= most_instructions);
        else
            report.row(peer.title, format("%7.0f", per_call));
    }
}

void report_side(const char *title, const SyscallCounts &counts, bool with_aim, Report &report)
{
    const double sends = static_cast<double>(counts.sends) / traced_calls;
    const double receives = static_cast<double>(counts.receives) / traced_calls;
    const std::string figures =
        format("%5.2f, %5.2f, %5.2f", sends, receives, static_cast<double>(counts.others) / traced_calls);
    // Attaching to a server that waits may restart one of its calls.
    const auto is_one = [](double count) { return std::abs(count - 1) < 0.01; };
    if (with_aim)
        report.row(title, figures, "exactly 1, 1", is_one(sends) && is_one(receives));
    else
        report.row(title, figures);
}

void measure_system_calls(const Setting &setting, Report &report)
{
    report.section("System calls per call: sending, receiving, other (waiting)");
    for (const auto &peer : counted) {
        const auto server = server_of(setting, peer);
        const auto counts = trace(calls_to(setting, peer.name, traced_calls), server->pid());
        if (!counts) {
            report.not_measured(peer.title, "tracing is not permitted here");
            continue;
        }
        report_side(format("%s: client", peer.title).c_str(), counts->client, peer.is_ours(), report);
        report_side(format("%s: server", peer.title).c_str(), counts->server, peer.is_ours(), report);
    }
}

void measure_allocations(const Setting &setting, Report &report)
{
    constexpr int calls = 10'000;
    report.section("Heap allocations of the client, per call");
    for (const auto &peer : counted) {
        const auto server = server_of(setting, peer);
        const double per_call = allocations_per_call(setting, peer.name, calls);
        if (peer.is_ours())
            report.row(peer.title, format("%7.3f", per_call), format("<= %.0f", peer.most_allocations),
                       per_call <= peer.most_allocations);
        else
            report.row(peer.title, format("%7.3f", per_call));
    }
}

} // namespace

void measure_counts(const Setting &setting, Report &report)
{
    measure_instructions(setting, report);
    measure_system_calls(setting, report);
    measure_allocations(setting, report);
}

} // namespace bench
