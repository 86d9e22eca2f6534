// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// Instructions in user space, system calls and heap allocations per call. Ours is served by the stub side alone:
/// what an agent does besides belongs to the agent.
void measure_counts(const Setting &setting, Report &report);

} // namespace bench
