// SPDX-License-Identifier: Apache-2.0
// Scenario files. What can be parsed is played as far as it goes without waiting; every step can be shown.

#include "agent/scenario/shown_step.hpp"
#include "fuzz_agent.hpp"
#include "fuzz_input.hpp"

using namespace kv::virtual_agent;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    Scenario scenario;
    try {
        scenario = Scenario::parse(input.rest());
    } catch (const std::invalid_argument &problem) {
        must(std::string{problem.what()}.rfind("line ", 0) == 0, "the message names no line");
        return 0;
    }
    for (const Scenario::Step &step : scenario.steps) {
        must(step.line > 0, "a step has no line");
        in_words(step);
    }
    FuzzAgent fuzzed;
    if (!scenario.applies_to(fuzzed.state.version.number()))
        return 0;
    int ends = 0;
    fuzzed.player.start(std::move(scenario), [&ends](const std::string &) { ++ends; });
    FuzzAgent::run_ready_sources();
    if (ends == 0)
        fuzzed.player.stop();
    must(ends == 1, "a scenario ends once");
    must(FuzzAgent::is_json(fuzzed.player.view().text()), "the view is not JSON");
    return 0;
}
