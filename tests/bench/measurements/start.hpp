// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures the time from process start to the first reply, and the resident memory then, compared with a bare client
/// that links GLib.
void measure_start(const Setting &setting, AgentKind agent, Report &report);

} // namespace kv::test
