// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures a call that sends a list of 32 access points: time, compared with a bare exchange of the same bytes,
/// instructions and allocations.
void measure_lists(const Setting &setting, AgentKind agent, Report &report);

} // namespace kv::test
