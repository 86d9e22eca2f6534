// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Many clients of one server, all on one CPU.
void measure_together(const Setting &setting, Report &report);

} // namespace kv::test
