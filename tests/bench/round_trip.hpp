// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// Times calls to every peer, one round of each after the other, with the client and all servers on one CPU and then
/// where the scheduler puts them.
void measure_round_trips(const Setting &setting, AgentKind agent, Report &report);

/// What a log line costs whose level is not wanted.
void measure_unwanted_log_line(Report &report);

} // namespace bench
