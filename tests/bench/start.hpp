// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// From process start to the first reply, and what is resident then, beside a bare client that links GLib.
void measure_start(const Setting &setting, AgentKind agent, Report &report);

} // namespace bench
