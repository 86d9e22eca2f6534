// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cases.hpp"
#include "report.hpp"

#include <map>

namespace kv::ctl {

/// Seconds by the name of a case, from an earlier report.
using Durations = std::map<std::string, double>;

Durations durations_in(const SuiteResult &report);

/// The cases of one shard, in their order. Every machine that gives the same cases and durations selects the same ones,
/// and each case is in exactly one shard. A case without a duration counts as long as the others on average.
std::vector<Case> cases_of_shard(const std::vector<Case> &cases, const Shard &shard, const Durations &durations);

} // namespace kv::ctl
