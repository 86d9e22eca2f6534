// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/scenario/application_run.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// One scenario with one agent version and at most one fault plan.
struct Case {
    std::string scenario; // its name
    std::string variant;  // the version, the plan and the repetition: 1.3+slow#2
    std::string file{};
    std::string version{};
    std::string faults{}; // the file of the plan
    ScenarioChoices choices{};

    /// Stable: it depends only on the names of the files and on the options. setup/wrong-password@1.3+slow#2
    std::string name() const { return scenario + "@" + variant; }
};

struct CaseOptions {
    std::vector<std::string> paths{};
    std::string agent_versions = "newest";
    std::string agent_program{};
    std::vector<std::string> faults{}; // each plan multiplies the cases
    ScenarioChoices choices{};
    std::string filter{};
    unsigned repeat = 1;
    std::optional<std::uint32_t> shuffle_seed{};
};

/// The cases in the order of their scenarios and versions, or shuffled. The same options give the same order on each
/// machine. Throws UsageError if a scenario has a mistake, or if no case is left.
std::vector<Case> cases_of(const CaseOptions &options);

} // namespace kv::ctl
