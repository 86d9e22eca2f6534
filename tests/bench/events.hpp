// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report.hpp"
#include "setting.hpp"

namespace bench {

/// Events into an application's callback, sent one by one and in bursts, beside readers of bare sockets.
void measure_events(const Setting &setting, Report &report);

} // namespace bench
