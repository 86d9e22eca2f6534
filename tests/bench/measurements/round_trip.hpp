// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Times calls to every peer in turn, round by round: first with the client and all servers on one CPU, then placed by the
/// scheduler.
void measure_round_trips(const Setting &setting, AgentKind agent, Report &report);

/// Times a log line below the log level.
void measure_unwanted_log_line(Report &report);

} // namespace kv::test
