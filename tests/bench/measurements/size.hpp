// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// Measures the flash that the libraries need, and the heap that stays in use after initialising.
void measure_size(const Setting &setting, Report &report);

} // namespace kv::test
