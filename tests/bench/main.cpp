// SPDX-License-Identifier: Apache-2.0
// korvane-bench [--stub] [calls|counts|lists|events|start|applications ...]
// Without arguments: all measurements, with the library served by the virtual agent. --stub: served by the stub alone.

#include "bench/measurements/applications.hpp"
#include "bench/measurements/counts.hpp"
#include "bench/measurements/events.hpp"
#include "bench/measurements/lists.hpp"
#include "bench/measurements/round_trip.hpp"
#include "bench/measurements/size.hpp"
#include "bench/measurements/start.hpp"

#include <cstdio>
#include <exception>
#include <set>
#include <string>

int main(int argc, char **argv)
{
    using namespace kv::test;
    AgentKind agent = has_virtual_agent() ? AgentKind::virtual_agent : AgentKind::stub;
    const std::set<std::string> parts = {"calls", "counts", "lists", "events", "start", "applications"};
    std::set<std::string> selected;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--stub") {
            agent = AgentKind::stub;
        } else if (parts.count(word) > 0) {
            selected.insert(word);
        } else {
            fprintf(stderr, "usage: korvane-bench [--stub] [calls|counts|lists|events|start|applications ...]\n");
            return 2;
        }
    }
    const auto is_selected = [&](const char *part) { return selected.empty() || selected.count(part) > 0; };

    try {
        const Setting setting;
        Report report;
        if (is_selected("calls")) {
            measure_round_trips(setting, agent, report);
            measure_unwanted_log_line(report);
        }
        if (is_selected("counts"))
            measure_counts(setting, report);
        if (is_selected("lists"))
            measure_lists(setting, agent, report);
        if (is_selected("events"))
            measure_events(setting, report);
        if (is_selected("start")) {
            measure_start(setting, agent, report);
            measure_size(setting, report);
        }
        if (is_selected("applications"))
            measure_applications(setting, report);
        report.close();
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench: %s\n", e.what());
        return 1;
    }
}
