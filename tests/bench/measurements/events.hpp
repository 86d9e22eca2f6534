// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures events that reach an application's callback, one by one and in bursts, and readers of bare sockets.
void measure_events(const Setting &setting, Report &report);

} // namespace kv::test
