// SPDX-License-Identifier: Apache-2.0
#include "lists.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/callgrind.hpp"
#include "bench/support/runs.hpp"

namespace kv::test {

namespace {

constexpr int rounds = 21;
constexpr int calls_per_round = 2000;
/// The newest version that accepts the list as records.
constexpr const char *record_version = "2.2";

struct ListPeer {
    const char *client;
    const char *title;
    double max_over_bare = 0; // 0: no aim
    double max_instructions = 0;
    double max_allocations = 0;
};

constexpr ListPeer list_peers[] = {
    {.client = peer::bare_list, .title = "bare, blocking server"},
    {.client = peer::sdbus_list, .title = "sd-bus, peer to peer"},
    {.client = peer::proxy_list,
     .title = "send_ap_list through the proxy",
     .max_over_bare = 1.5,
     .max_instructions = 14'000},
    {.client = peer::api_list, .title = "korvane_send_ap_list", .max_over_bare = 2.5, .max_instructions = 45'000},
    {.client = peer::whole_list,
     .title = "list created, filled, sent and destroyed",
     .max_over_bare = 2.5,
     .max_instructions = 60'000,
     .max_allocations = 40},
};

std::vector<Timed> time_lists(const Setting &setting, const std::vector<Timed> &peers)
{
    std::vector<Timed> timed = peers;
    time_in_turn(setting, timed, rounds, calls_per_round);
    return timed;
}

std::string figures(const Timed &peer, const Timed &bare)
{
    return format("%7.2f us  %5.2f x bare", median(peer.rounds), median_ratio(peer.rounds, bare.rounds));
}

void time_records(const Setting &setting, Report &report)
{
    report.section("A list of 32 access points, on one CPU; the library served by the stub alone");
    const auto agent = setting.serve(AgentKind::stub, record_version);
    std::vector<Timed> peers;
    for (const ListPeer &peer : list_peers)
        peers.push_back({peer.client, peer.title});
    time_in_turn(setting, peers, rounds, calls_per_round);
    for (std::size_t i = 0; i < peers.size(); ++i) {
        const double aim = list_peers[i].max_over_bare;
        if (aim > 0)
            report.row(peers[i].title, figures(peers[i], peers[0]), format("<= %.1f x bare", aim),
                       median_ratio(peers[i].rounds, peers[0].rounds) <= aim);
        else
            report.row(peers[i].title, figures(peers[i], peers[0]));
    }
}

void time_document(const Setting &setting, Report &report)
{
    const auto agent = setting.serve(AgentKind::stub);
    const auto peers =
        time_lists(setting, {{peer::bare_list, ""}, {peer::whole_list, "the same as a JSON document (2.3)"}});
    constexpr double max_document_over_bare = 4.5;
    report.row(peers[1].title, figures(peers[1], peers[0]), format("<= %.1f x bare", max_document_over_bare),
               median_ratio(peers[1].rounds, peers[0].rounds) <= max_document_over_bare);
}

void time_with_agent(const Setting &setting, Report &report)
{
    report.section("The same, served by the virtual agent, which decodes the list: the difference is its work");
    const auto agent = setting.serve_commands(record_version);
    // Without this fault it would accept one list only, and only after a scan.
    agent->write_line("fault send_ap_list result 0 1000000");
    next_line(*agent);
    const auto peers = time_lists(setting, {{peer::bare_list, ""},
                                            {peer::proxy_list, "send_ap_list through the proxy"},
                                            {peer::api_list, "korvane_send_ap_list"}});
    constexpr double max_served_over_bare = 2.5;
    for (std::size_t i = 1; i < peers.size(); ++i)
        report.row(peers[i].title, figures(peers[i], peers[0]), format("<= %.1f x bare", max_served_over_bare),
                   median_ratio(peers[i].rounds, peers[0].rounds) <= max_served_over_bare);
}

void count_instructions(const Setting &setting, Report &report)
{
    constexpr int few = 200;
    constexpr int many = 700;
    report.section("Instructions of the client in user space, per list");
    const auto agent = setting.serve(AgentKind::stub, record_version);
    for (const ListPeer &peer : list_peers) {
        const double count = instructions_per_call(setting, peer.client, few, many).total;
        if (peer.max_instructions > 0)
            report.row(peer.title, format("%7.0f", count), format("<= %.0f", peer.max_instructions),
                       count <= peer.max_instructions);
        else
            report.row(peer.title, format("%7.0f", count));
    }
}

void count_allocations(const Setting &setting, Report &report)
{
    report.section("Heap allocations of the client, per list");
    const auto agent = setting.serve(AgentKind::stub, record_version);
    for (const ListPeer &peer : list_peers) {
        const double count = allocations_per_call(setting, peer.client, 1000);
        if (peer.max_allocations > 0)
            report.row(peer.title, format("%7.2f", count), format("<= %.0f", peer.max_allocations),
                       count <= peer.max_allocations);
        else
            report.row(peer.title, format("%7.2f", count));
    }
}

} // namespace

void measure_lists(const Setting &setting, AgentKind agent, Report &report)
{
    const OnOneCpu pinned;
    const auto bare = setting.serve(peer::bare);
    const auto sdbus = setting.serve(peer::sdbus);
    time_records(setting, report);
    time_document(setting, report);
    if (agent == AgentKind::virtual_agent)
        time_with_agent(setting, report);
    count_instructions(setting, report);
    count_allocations(setting, report);
}

} // namespace kv::test
