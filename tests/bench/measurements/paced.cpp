// SPDX-License-Identifier: Apache-2.0
#include "paced.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/runs.hpp"

namespace kv::test {

namespace {

constexpr int rounds = 5;
constexpr int events_per_round = 400;
constexpr double max_over_bare = 1.6;

} // namespace

void measure_paced_events(const Setting &setting, Report &report)
{
    const std::unique_ptr<ChildProcess> servers[] = {setting.serve_events(peer::bare), setting.serve_events(peer::glib),
                                                     setting.serve_events(peer::sdbus),
                                                     setting.serve_events(peer::stub)};
    std::vector<Timed> peers = {{peer::bare_event, "bare, blocking reader and sender"},
                                {peer::glib_event, "bare, reader and sender in GLib loops"},
                                {peer::sdbus_event, "sd-bus signals"},
                                {peer::api_event, "korvane_set_status_changed_cb"}};
    for (int round = 0; round < rounds; ++round)
        for (Timed &peer : peers)
            peer.rounds.push_back(microseconds_per_paced_call(setting, peer.client, events_per_round));

    report.section("From the request of an event to its callback, 1,000 per second, placed by the scheduler");
    const Timed &bare = peers[0];
    const Timed &ours = peers.back();
    for (const Timed &peer : peers) {
        const double ratio = median_ratio(peer.rounds, bare.rounds);
        const std::string figures = format("%7.2f us  %5.2f x bare", median(peer.rounds), ratio);
        if (&peer == &ours)
            report.row(peer.title, figures, format("<= %.1f x bare", max_over_bare), ratio <= max_over_bare);
        else
            report.row(peer.title, figures);
    }
}

} // namespace kv::test
