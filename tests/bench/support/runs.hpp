// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setting.hpp"

#include <string>
#include <vector>

// Measurements of one client by runs of korvane-bench-calls.
namespace kv::test {

std::vector<std::string> calls_to(const Setting &setting, const std::string &client, int calls);

double microseconds_per_call(const Setting &setting, const std::string &client, int calls);
double allocations_per_call(const Setting &setting, const std::string &client, int calls);

/// A client that is timed in turn with others.
struct Timed {
    const char *client;
    const char *title;
    std::vector<double> rounds = {}; ///< microseconds per call
};

void time_in_turn(const Setting &setting, std::vector<Timed> &peers, int rounds, int calls_per_round);

} // namespace kv::test
