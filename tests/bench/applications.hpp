// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// Many applications at once at one virtual agent: what they do together, whether one is starved, what each costs it.
void measure_applications(const Setting &setting, Report &report);

} // namespace bench
