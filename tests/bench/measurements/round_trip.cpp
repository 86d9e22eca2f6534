// SPDX-License-Identifier: Apache-2.0
#include "round_trip.hpp"

#include "bench/clients/clients.hpp"

#include "common/log.hpp"

#include <chrono>
#include <cstdlib>
#include <ctime>

namespace kv::test {

namespace {

using namespace kv;
using Clock = std::chrono::steady_clock;

constexpr int rounds = 41;
constexpr int calls_per_round = 1000;

constexpr double max_over_bare = 1.60;
constexpr double max_over_bus = 0.80;

/// Microseconds per call.
double time_round(Client &client)
{
    const auto start = Clock::now();
    for (int i = 0; i < calls_per_round; ++i)
        client.call();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count() / calls_per_round;
}

struct Peer {
    const char *name;
    const char *title;
    std::unique_ptr<Client> client = nullptr;
    std::vector<double> rounds = {};
};

std::string figures(const Peer &peer, const Peer &bare)
{
    return format("%7.2f us  %5.2f x bare", median(peer.rounds), median_ratio(peer.rounds, bare.rounds));
}

void measure_where_they_are(const Setting &setting, AgentKind agent, bool with_aims, Report &report)
{
    const std::unique_ptr<ChildProcess> servers[] = {setting.serve(peer::bare), setting.serve(peer::glib),
                                                     setting.serve(peer::sdbus), setting.serve(agent)};
    Peer peers[] = {{peer::bare, "bare, blocking server"},
                    {peer::glib, "bare, server in a GLib loop"},
                    {peer::sdbus, "sd-bus, peer to peer"},
                    {peer::proxy, "get_device_id through the proxy"},
                    {peer::api, "korvane_start"}};
    auto &[bare, glib, sdbus, proxy, api] = peers;
    for (auto &peer : peers) {
        peer.client = connect_to(peer.name, setting.folder());
        time_round(*peer.client); // warms up
    }
    for (int round = 0; round < rounds; ++round)
        for (auto &peer : peers)
            peer.rounds.push_back(time_round(*peer.client));

    for (auto *peer : {&bare, &glib, &sdbus})
        report.row(peer->title, figures(*peer, bare));
    for (auto *peer : {&proxy, &api}) {
        if (!with_aims) {
            report.row(peer->title, figures(*peer, bare));
            continue;
        }
        const double over_bare = median_ratio(peer->rounds, bare.rounds);
        const double over_bus = median_ratio(peer->rounds, sdbus.rounds);
        report.row(peer->title, figures(*peer, bare), format("<= %.2f x bare", max_over_bare),
                   over_bare <= max_over_bare);
        report.row(format("%s, to sd-bus", peer->title), format("%22.2f x sd-bus", over_bus),
                   format("<= %.2f x sd-bus", max_over_bus), over_bus <= max_over_bus);
    }
}

/// The processor time of this process in microseconds.
double processor_time()
{
    return static_cast<double>(clock()) * 1e6 / CLOCKS_PER_SEC;
}

/// Client and agent poll before they block. The peers do not, and their figures show what a wake-up costs here.
void measure_polling(const Setting &setting, AgentKind agent, Report &report)
{
    constexpr const char *polling_us = "200";
    constexpr double max_polling_over_bare = 0.45;
    report.section(format("Placed by the scheduler, with KORVANE_POLL_US=%s", polling_us));
    setenv("KORVANE_POLL_US", polling_us, 1);
    const std::unique_ptr<ChildProcess> servers[] = {setting.serve(peer::bare), setting.serve(agent)};
    Peer bare{peer::bare, "bare, blocking server", connect_to(peer::bare, setting.folder())};
    Peer api{peer::api, "korvane_start", connect_to(peer::api, setting.folder())};
    unsetenv("KORVANE_POLL_US");
    std::vector<double> busy;
    for (auto *peer : {&bare, &api})
        time_round(*peer->client);
    for (int round = 0; round < rounds; ++round) {
        bare.rounds.push_back(time_round(*bare.client));
        const double before = processor_time();
        api.rounds.push_back(time_round(*api.client));
        busy.push_back((processor_time() - before) / calls_per_round);
    }
    report.row(bare.title, figures(bare, bare));
    const double over_bare = median_ratio(api.rounds, bare.rounds);
    report.row(api.title, figures(api, bare), format("<= %.2f x bare", max_polling_over_bare),
               over_bare <= max_polling_over_bare);
    report.row("processor time of the client", format("%7.2f us", median(busy)));
}

} // namespace

void measure_round_trips(const Setting &setting, AgentKind agent, Report &report)
{
    const bool with_agent = agent == AgentKind::virtual_agent;
    {
        const OnOneCpu pinned;
        report.section(format("One call, client and servers on one CPU; the library served by %s",
                              with_agent ? "the virtual agent" : "the stub alone"));
        measure_where_they_are(setting, agent, true, report);
        if (with_agent) {
            report.section("The same, the library served by the stub alone: the difference is the agent's work");
            measure_where_they_are(setting, AgentKind::stub, false, report);
        }
    }
    report.section("The first, placed by the scheduler");
    measure_where_they_are(setting, agent, false, report);
    measure_polling(setting, agent, report);
}

void measure_unwanted_log_line(Report &report)
{
    constexpr int lines = 5'000'000;
    constexpr double max_ns = 20;
    const OnOneCpu pinned;
    const auto start = Clock::now();
    for (int i = 0; i < lines; ++i)
        kv::api::log::info()("status [%d]"_fmt, i);
    const double ns = std::chrono::duration<double, std::nano>(Clock::now() - start).count() / lines;
    report.section("Logging");
    report.row("a line below the level", format("%7.2f ns", ns), format("<= %.0f ns", max_ns), ns <= max_ns);
}

} // namespace kv::test
