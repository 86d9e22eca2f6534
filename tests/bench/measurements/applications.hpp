// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures many applications at one virtual agent: their total rate, the slowest one, the agent's memory for each.
void measure_applications(const Setting &setting, Report &report);

} // namespace kv::test
