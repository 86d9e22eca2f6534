// SPDX-License-Identifier: Apache-2.0
// korvane-bench [--stub] [calls|counts|lists|events|start|agent|clients|applications|growth ...]
// Without arguments: all measurements, with the library served by the virtual agent. --stub: served by the stub alone.
//
// korvane-bench --compare-instructions | --store-instructions
// Compares the instructions per call with the stored figures, or stores them.

#include "bench/measurements/agent.hpp"
#include "bench/measurements/applications.hpp"
#include "bench/measurements/counts.hpp"
#include "bench/measurements/events.hpp"
#include "bench/measurements/growth.hpp"
#include "bench/measurements/instructions.hpp"
#include "bench/measurements/lists.hpp"
#include "bench/measurements/paced.hpp"
#include "bench/measurements/round_trip.hpp"
#include "bench/measurements/size.hpp"
#include "bench/measurements/start.hpp"
#include "bench/measurements/together.hpp"

#include <cstdio>
#include <exception>
#include <set>
#include <string>
#include <vector>

using namespace kv::test;

namespace {

/// What the command line selects.
struct Selection {
    AgentKind agent = has_virtual_agent() ? AgentKind::virtual_agent : AgentKind::stub;
    std::set<std::string> parts;

    /// Returns false if a word is not known.
    bool add(const std::string &word)
    {
        static const std::set<std::string> known = {"calls", "counts",  "lists",        "events", "start",
                                                    "agent", "clients", "applications", "growth"};
        if (word == "--stub")
            agent = AgentKind::stub;
        else if (known.count(word) > 0)
            parts.insert(word);
        else
            return false;
        return true;
    }
    bool has(const char *part) const { return parts.empty() || parts.count(part) > 0; }
};

void measure(const Selection &selected)
{
    const Setting setting;
    Report report;
    if (selected.has("calls")) {
        measure_round_trips(setting, selected.agent, report);
        measure_unwanted_log_line(report);
    }
    if (selected.has("counts"))
        measure_counts(setting, report);
    if (selected.has("lists"))
        measure_lists(setting, selected.agent, report);
    if (selected.has("events")) {
        measure_events(setting, report);
        measure_paced_events(setting, report);
    }
    if (selected.has("start")) {
        measure_start(setting, selected.agent, report);
        measure_size(setting, report);
    }
    if (selected.has("agent"))
        measure_agent(setting, report);
    if (selected.has("clients"))
        measure_together(setting, report);
    if (selected.has("applications"))
        measure_applications(setting, report);
    if (selected.has("growth"))
        measure_growth(setting, report);
    report.close();
}

int run_words(const std::vector<std::string> &words)
{
    if (words.size() == 1 && words[0] == "--store-instructions") {
        store_instructions(Setting{}, BENCH_INSTRUCTIONS);
        return 0;
    }
    if (words.size() == 1 && words[0] == "--compare-instructions")
        return compare_instructions(Setting{}, BENCH_INSTRUCTIONS) ? 0 : 1;
    Selection selected;
    for (const std::string &word : words) {
        if (!selected.add(word)) {
            fprintf(stderr, "usage: korvane-bench [--stub] "
                            "[calls|counts|lists|events|start|agent|clients|applications|growth ...]\n"
                            "       korvane-bench --compare-instructions | --store-instructions\n");
            return 2;
        }
    }
    measure(selected);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return run_words({argv + 1, argv + argc});
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench: %s\n", e.what());
        return 1;
    }
}
