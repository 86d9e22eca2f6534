// SPDX-License-Identifier: Apache-2.0
#include "together.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/runs.hpp"

namespace kv::test {

namespace {

constexpr int many = 32;
constexpr double min_of_bare = 0.45;

double rate_of(int count, const Setting &setting, const char *server, const char *client)
{
    const auto serving = setting.serve(server);
    return calls_per_second_of(count, setting, client);
}

double rate_of(int count, const Setting &setting, AgentKind agent)
{
    const auto serving = setting.serve(agent);
    return calls_per_second_of(count, setting, peer::api);
}

} // namespace

void measure_together(const Setting &setting, Report &report)
{
    const OnOneCpu pinned;
    report.section(format("%d clients of one server, calls of all per second, on one CPU", many));
    const double bare = rate_of(1, setting, peer::bare, peer::bare);
    const auto figures = [bare](double rate) { return format("%9.0f /s  %5.2f x bare", rate, rate / bare); };
    report.row("bare, blocking server, one client", figures(bare));
    report.row("bare, server in a GLib loop", figures(rate_of(many, setting, peer::glib, peer::glib)));
    report.row("sd-bus, server in a loop of sd-event",
               figures(rate_of(many, setting, peer::sdbus_loop, peer::sdbus_loop)));
    report.row("korvane_start, served by the stub alone", figures(rate_of(many, setting, AgentKind::stub)));
    if (!has_virtual_agent())
        return;
    const double agent = rate_of(many, setting, AgentKind::virtual_agent);
    report.row("korvane_start, served by the virtual agent", figures(agent), format(">= %.2f x bare", min_of_bare),
               agent / bare >= min_of_bare);
}

} // namespace kv::test
