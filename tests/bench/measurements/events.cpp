// SPDX-License-Identifier: Apache-2.0
#include "events.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/callgrind.hpp"
#include "bench/support/runs.hpp"
#include "bench/support/trace.hpp"

namespace kv::test {

namespace {

constexpr int rounds = 21;
constexpr double min_of_bare_rate = 0.95;
constexpr double min_burst_rate = 25e6;

/// In each list the second is the reader on a GLib loop, the last is the library.
const std::vector<Timed> one_by_one = {{peer::bare_event, "bare, blocking reader and sender"},
                                       {peer::glib_event, "bare, reader and sender in GLib loops"},
                                       {peer::sdbus_event, "sd-bus signals"},
                                       {peer::api_event, "korvane_set_status_changed_cb"}};
const std::vector<Timed> bursts = {{peer::bare_burst, "bare, blocking reader and sender"},
                                   {peer::glib_burst, "bare, reader and sender in GLib loops"},
                                   {peer::sdbus_burst, "sd-bus signals, composed meanwhile"},
                                   {peer::api_burst, "korvane_set_status_changed_cb"}};

void measure_one_by_one(const Setting &setting, Report &report)
{
    report.section("Events per second, each sent when the one before was received, on one CPU");
    std::vector<Timed> peers = one_by_one;
    time_in_turn(setting, peers, rounds, 5000);
    const Timed &glib = peers[1];
    const Timed &ours = peers.back();
    for (const Timed &peer : peers) {
        // A rate is the inverse of a time.
        const double rate = median_ratio(glib.rounds, peer.rounds);
        const std::string figures = format("%9.0f /s  %5.2f x GLib", 1e6 / median(peer.rounds), rate);
        if (&peer == &ours)
            report.row(peer.title, figures, format(">= %.2f x GLib", min_of_bare_rate), rate >= min_of_bare_rate);
        else
            report.row(peer.title, figures);
    }
}

void measure_bursts(const Setting &setting, Report &report)
{
    report.section(format("Events per second, %d sent with one write, on one CPU", burst_size));
    std::vector<Timed> peers = bursts;
    time_in_turn(setting, peers, rounds, 100);
    const auto rate = [](const Timed &peer) { return burst_size / median(peer.rounds) * 1e6; };
    for (const Timed &peer : peers) {
        const std::string figures = format("%7.2f million /s", rate(peer) / 1e6);
        if (&peer == &peers.back())
            report.row(peer.title, figures, format(">= %.0f million /s", min_burst_rate / 1e6),
                       rate(peer) >= min_burst_rate);
        else
            report.row(peer.title, figures);
    }
}

void count_receives(const Setting &setting, const std::unique_ptr<ChildProcess> &server, Report &report)
{
    constexpr int calls = 200;
    report.section("System calls of the reader: sending its commands, receiving, other (waiting)");
    const auto counts = trace(calls_to(setting, peer::api_event, calls), server->pid());
    if (!counts)
        return report.not_measured("per event", "tracing is not permitted here");
    const auto per_call = [&](unsigned long count) { return static_cast<double>(count) / calls; };
    report.row("korvane_set_status_changed_cb, one by one",
               format("%5.2f, %5.2f, %5.2f", per_call(counts->client.sends), per_call(counts->client.receives),
                      per_call(counts->client.others)),
               "one receive", per_call(counts->client.receives) < 1.01);
}

void count_receives_of_bursts(const Setting &setting, const std::unique_ptr<ChildProcess> &server, Report &report)
{
    constexpr int calls = 200;
    const auto counts = trace(calls_to(setting, peer::api_burst, calls), server->pid());
    if (!counts)
        return report.not_measured("per burst", "tracing is not permitted here");
    // Preparing a burst takes one command and its confirmation.
    const auto per_call = [&](unsigned long count) { return static_cast<double>(count) / calls; };
    const double receives = per_call(counts->client.receives) - 1;
    report.row(
        format("the same, a burst of %d", burst_size),
        format("%5.2f, %5.2f, %5.2f", per_call(counts->client.sends) - 1, receives, per_call(counts->client.others)),
        "one receive", receives < 1.01);
}

void count_instructions(const Setting &setting, Report &report)
{
    report.section("Instructions of the reader in user space, per event");
    for (const Timed &peer : one_by_one)
        report.row(format("%s, one by one", peer.title),
                   format("%7.0f", instructions_per_call(setting, peer.client, 500, 1500).total));
    for (const Timed &peer : bursts)
        report.row(format("%s, in bursts", peer.title),
                   format("%7.0f", instructions_per_call(setting, peer.client, 2, 12).total / burst_size));
}

} // namespace

void measure_events(const Setting &setting, Report &report)
{
    const OnOneCpu pinned;
    const auto bare = setting.serve_events(peer::bare);
    const auto glib = setting.serve_events(peer::glib);
    const auto sdbus = setting.serve_events(peer::sdbus);
    auto stub = setting.serve_events(peer::stub);
    measure_one_by_one(setting, report);
    measure_bursts(setting, report);
    count_instructions(setting, report);
    // A server that was traced cannot be used any more.
    count_receives(setting, stub, report);
    stub.reset();
    stub = setting.serve_events(peer::stub);
    count_receives_of_bursts(setting, stub, report);
}

} // namespace kv::test
