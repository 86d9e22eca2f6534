// SPDX-License-Identifier: Apache-2.0
#include "cases.hpp"

#include "scenario_files.hpp"
#include "tools/ctl/agent/paths.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/scenario/placeholder.hpp"

#include <glib.h>

#include <algorithm>
#include <random>

namespace kv::ctl {

namespace {

/// Whether a name contains the filter, in which '*' and '?' have the meaning that they have in a shell.
bool matches(const std::string &filter, const std::string &name)
{
    return filter.empty() || g_pattern_match_simple(("*" + filter + "*").c_str(), name.c_str());
}

/// std::shuffle() depends on the C++ library; every machine of a build farm must get the same order.
void shuffle(std::vector<Case> &cases, std::uint32_t seed)
{
    std::mt19937 random{seed};
    for (std::size_t left = cases.size(); left > 1; --left)
        std::swap(cases[left - 1], cases[random() % left]);
}

class Cases {
public:
    explicit Cases(const CaseOptions &options) : options_(options) {}

    /// Adds a case for each version for which scenario and plan are meant.
    void add(const ScenarioFile &scenario, const std::vector<std::string> &versions, const ScenarioFile *plan)
    {
        for (const std::string &version : versions) {
            if (plan && std::find(plan->versions.begin(), plan->versions.end(), version) == plan->versions.end())
                continue;
            const std::string variant = version + (plan ? "+" + plan->name : "");
            if (matches(options_.filter, scenario.name + "@" + variant))
                add_repeated({scenario.name, variant, scenario.path, version, plan ? plan->path : "",
                              choices_for(scenario, plan)});
        }
    }

    std::vector<Case> take() { return std::move(all_); }

private:
    /// Leaves out the variables that neither the scenario nor the plan has.
    ScenarioChoices choices_for(const ScenarioFile &scenario, const ScenarioFile *plan) const
    {
        ScenarioChoices choices = options_.choices;
        std::erase_if(choices.settings, [&](const std::string &setting) {
            const std::string name = setting.substr(0, setting.find('='));
            return !scenario.has_variable(name) && !(plan && plan->has_variable(name));
        });
        return choices;
    }

    void add_repeated(const Case &one)
    {
        for (unsigned turn = 1; turn <= options_.repeat; ++turn) {
            all_.push_back(one);
            if (options_.repeat > 1)
                all_.back().variant += "#" + std::to_string(turn);
        }
    }

    const CaseOptions &options_;
    std::vector<Case> all_{};
};

} // namespace

std::vector<Case> cases_of(const CaseOptions &options)
{
    std::vector<ScenarioFile> scenarios = find_scenarios(options.paths);
    std::vector<ScenarioFile> plans = find_scenarios(options.faults);
    std::vector<ScenarioFile *> files;
    std::vector<std::string> paths;
    for (std::vector<ScenarioFile> *list : {&scenarios, &plans})
        for (ScenarioFile &file : *list) {
            files.push_back(&file);
            paths.push_back(file.path);
        }
    refuse_placeholders(paths);
    const VersionTable versions{required_agent_program(options.agent_program), files, options.choices};

    Cases cases{options};
    for (const ScenarioFile &scenario : scenarios) {
        if (scenario.is_part)
            continue;
        const std::vector<std::string> chosen = versions.chosen(options.agent_versions, scenario);
        if (plans.empty())
            cases.add(scenario, chosen, nullptr);
        for (const ScenarioFile &plan : plans)
            cases.add(scenario, chosen, &plan);
    }
    std::vector<Case> all = cases.take();
    if (all.empty())
        throw UsageError{"no scenario is meant for these agent versions or matches the filter"};
    if (options.shuffle_seed)
        shuffle(all, *options.shuffle_seed);
    return all;
}

} // namespace kv::ctl
