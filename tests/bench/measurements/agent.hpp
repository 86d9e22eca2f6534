// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// The virtual agent's start and its memory without applications.
void measure_agent(const Setting &setting, Report &report);

} // namespace kv::test
