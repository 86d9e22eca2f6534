// SPDX-License-Identifier: Apache-2.0
#include "counts.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/callgrind.hpp"
#include "bench/support/runs.hpp"
#include "bench/support/trace.hpp"

#include <cmath>

namespace kv::test {

namespace {

constexpr double max_instructions = 1000;
constexpr int traced_calls = 500;

/// A peer and the aims of its counts.
struct Counted {
    const char *name;
    const char *title;
    double max_allocations = -1; // negative: no aim

    bool is_ours() const { return max_allocations >= 0; }
};

constexpr Counted counted[] = {
    {.name = peer::bare, .title = "bare"},
    {.name = peer::sdbus, .title = "sd-bus, peer to peer"},
    {.name = peer::proxy, .title = "get_device_id through the proxy", .max_allocations = 1}, // the text it returns
    {.name = peer::api, .title = "korvane_start", .max_allocations = 0}};

std::unique_ptr<ChildProcess> server_of(const Setting &setting, const Counted &peer)
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
        const double per_call = instructions_per_call(setting, peer.name, few, many).total;
        if (peer.is_ours())
            report.row(peer.title, format("%7.0f", per_call), format("<= %.0f", max_instructions),
                       per_call <= max_instructions);
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
    // Attaching to a server that waits in a system call may restart that call.
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
            report.row(peer.title, format("%7.3f", per_call), format("<= %.0f", peer.max_allocations),
                       per_call <= peer.max_allocations);
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

} // namespace kv::test
