// SPDX-License-Identifier: Apache-2.0
#include "growth.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/plot.hpp"
#include "bench/support/runs.hpp"

#include <functional>

namespace kv::test {

namespace {

/// The newest version that accepts the list as records.
constexpr const char *record_version = "2.2";

Series series(const char *title, const std::vector<int> &sizes, const std::function<double(int)> &measure)
{
    Series measured{title};
    for (const int size : sizes)
        measured.points.emplace_back(size, measure(size));
    return measured;
}

/// Microseconds per call of a client whose name ends with its size. Large calls are made less often.
double time_of(const Setting &setting, const char *client, int size, int calls)
{
    return microseconds_per_call(setting, client + std::to_string(size), calls);
}

Plot argument_size(const Setting &setting)
{
    const auto bare = setting.serve(peer::bare);
    const auto agent = setting.serve(AgentKind::stub, record_version);
    const std::vector<int> sizes = {1, 16, 64, 256, 1024, 4096, 16'384, 65'536};
    return {"growth-argument.svg",
            "Call with a text",
            "bytes of the text",
            "microseconds",
            {series("bare", sizes, [&](int size) { return time_of(setting, peer::bare_text, size, 1000); }),
             series("korvane_set_nick_name", sizes,
                    [&](int size) { return time_of(setting, peer::api_text, size, 1000); })}};
}

Plot list_length(const Setting &setting)
{
    const std::vector<int> lengths = {1, 4, 16, 64, 256, 1024, 4096};
    Plot plot{
        "growth-list.svg", "List of access points: created, filled, sent, released", "entries", "microseconds", {}};
    const auto with_agent = [&](const char *version, const char *title) {
        const auto agent = setting.serve(AgentKind::stub, version);
        plot.series.push_back(series(title, lengths, [&](int length) {
            return time_of(setting, peer::long_list, length, length < 256 ? 300 : 20);
        }));
    };
    with_agent(record_version, "records (agents before 2.3)");
    with_agent(Setting::newest_version, "document (agent 2.3)");
    return plot;
}

Plot client_count(const Setting &setting)
{
    const std::vector<int> counts = {1, 2, 4, 8, 16, 32, 64};
    Plot plot{"growth-clients.svg", "Clients of one server", "clients", "calls of all per second", {}};
    const auto add = [&](const char *title, const char *client) {
        plot.series.push_back(
            series(title, counts, [&](int count) { return calls_per_second_of(count, setting, client); }));
    };
    const auto glib = setting.serve(peer::glib);
    add("bare, server in a GLib loop", peer::glib);
    const auto sdbus = setting.serve(peer::sdbus_loop);
    add("sd-bus, server in a loop of sd-event", peer::sdbus_loop);
    const auto agent = setting.serve(AgentKind::virtual_agent);
    add("korvane_start, virtual agent", peer::api);
    return plot;
}

Plot sub_device_count(const Setting &setting)
{
    const auto agent = setting.serve(AgentKind::virtual_agent);
    const std::vector<int> counts = {1, 4, 16, 64, 256};
    return {"growth-sub-devices.svg",
            "Sub-devices of one device, virtual agent",
            "sub-devices",
            "microseconds",
            {series("set the presence of one", counts,
                    [&](int count) { return time_of(setting, peer::presence_set, count, 200); }),
             series("read the presence of all", counts,
                    [&](int count) { return time_of(setting, peer::presence_list, count, 200); })}};
}

void show(const Plot &plot, Report &report)
{
    for (const Series &series : plot.series) {
        const auto &[least, at_least] = series.points.front();
        const auto &[most, at_most] = series.points.back();
        report.row(format("%s: %s", plot.title.c_str(), series.title.c_str()),
                   format("for %.0f %.2f, for %.0f %s %.2f", least, at_least, most, plot.x.c_str(), at_most));
    }
    report.note(draw(plot, BENCH_PLOTS));
}

} // namespace

void measure_growth(const Setting &setting, Report &report)
{
    const OnOneCpu pinned;
    report.section("How the cost grows, on one CPU");
    show(argument_size(setting), report);
    show(list_length(setting), report);
    if (!has_virtual_agent())
        return;
    show(client_count(setting), report);
    show(sub_device_count(setting), report);
}

} // namespace kv::test
