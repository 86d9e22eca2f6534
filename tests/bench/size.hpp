// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// What the libraries take of a device: flash, and heap that is held from initialising on.
void measure_size(const Setting &setting, Report &report);

} // namespace bench
