// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// A call that brings a list of 32 access points: time beside the bare exchange of the same bytes, instructions,
/// allocations.
void measure_lists(const Setting &setting, AgentKind agent, Report &report);

} // namespace bench
