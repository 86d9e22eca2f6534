// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setting.hpp"

#include <string>
#include <vector>

/// What runs of korvane-bench-calls tell of a client that they make calls with.
namespace bench {

std::vector<std::string> calls_to(const Setting &setting, const std::string &client, int calls);

double microseconds_per_call(const Setting &setting, const std::string &client, int calls);
/// In user space: what the longer of two runs has more, by the calls that it makes more.
double instructions_per_call(const Setting &setting, const std::string &client, int few, int many);
double allocations_per_call(const Setting &setting, const std::string &client, int calls);

/// A client to be timed beside others, one round of each after the other.
struct Timed {
    const char *client;
    const char *title;
    std::vector<double> rounds = {}; ///< microseconds per call
};

void time_in_turn(const Setting &setting, std::vector<Timed> &peers, int rounds, int calls_per_round);

} // namespace bench
