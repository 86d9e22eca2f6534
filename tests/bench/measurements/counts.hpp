// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures instructions in user space, system calls and heap allocations per call. The library is served by the stub
/// alone, without the work of an agent.
void measure_counts(const Setting &setting, Report &report);

} // namespace kv::test
