// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Events at 1 kHz, with all processes where the scheduler places them.
void measure_paced_events(const Setting &setting, Report &report);

} // namespace kv::test
