// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setting.hpp"

#include <string>
#include <vector>

// Measurements of one client by runs of korvane-bench-calls.
namespace kv::test {

std::vector<std::string> calls_to(const Setting &setting, const std::string &client, int calls);

double microseconds_per_call(const Setting &setting, const std::string &client, int calls);
/// The median of calls that begin in each millisecond, so that both sides are asleep before.
double microseconds_per_paced_call(const Setting &setting, const std::string &client, int calls);
/// Calls per second of so many clients together, each in a process of its own.
double calls_per_second_of(int count, const Setting &setting, const std::string &client);
double allocations_per_call(const Setting &setting, const std::string &client, int calls);

/// A client that is timed in turn with others.
struct Timed {
    const char *client;
    const char *title;
    std::vector<double> rounds = {}; ///< microseconds per call
};

void time_in_turn(const Setting &setting, std::vector<Timed> &peers, int rounds, int calls_per_round);

} // namespace kv::test
