// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/report.hpp"
#include "bench/support/setting.hpp"

namespace kv::test {

/// How the cost of a call grows with its arguments, with clients and with sub-devices. Draws diagrams.
void measure_growth(const Setting &setting, Report &report);

} // namespace kv::test
