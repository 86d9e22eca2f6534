// SPDX-License-Identifier: Apache-2.0
#include "runs.hpp"

#include <cstdio>
#include <stdexcept>

namespace kv::test {

namespace {

struct Outcome {
    unsigned long allocations = 0;
    double microseconds = 0;
};

Outcome outcome_of(const std::vector<std::string> &command, const Environment &environment = {})
{
    Outcome outcome;
    const std::string output = run(command, environment);
    if (sscanf(output.c_str(), "%lu %lf", &outcome.allocations, &outcome.microseconds) != 2)
        throw std::runtime_error(command[0] + " printed: " + output);
    return outcome;
}

} // namespace

std::vector<std::string> calls_to(const Setting &setting, const std::string &client, int calls)
{
    return {program("korvane-bench-calls"), client, setting.folder(), std::to_string(calls)};
}

double microseconds_per_call(const Setting &setting, const std::string &client, int calls)
{
    return outcome_of(calls_to(setting, client, calls)).microseconds;
}

double microseconds_per_paced_call(const Setting &setting, const std::string &client, int calls)
{
    std::vector<std::string> command = calls_to(setting, client, calls);
    command.emplace_back("paced");
    return outcome_of(command).microseconds;
}

double calls_per_second_of(int count, const Setting &setting, const std::string &client)
{
    constexpr int duration_ms = 1000;
    std::vector<std::string> command = calls_to(setting, client, duration_ms);
    command.emplace_back("together");
    std::vector<std::unique_ptr<ChildProcess>> clients;
    for (int i = 0; i < count; ++i)
        clients.push_back(start(command));
    for (const auto &process : clients)
        next_line(*process);
    for (const auto &process : clients)
        process->write_line("begin");
    double calls = 0;
    for (const auto &process : clients)
        calls += std::stod(rest_of_output(*process));
    return calls * 1000 / duration_ms;
}

double allocations_per_call(const Setting &setting, const std::string &client, int calls)
{
    const auto outcome = outcome_of(calls_to(setting, client, calls), {{"LD_PRELOAD", BENCH_COUNT_ALLOCATIONS}});
    return static_cast<double>(outcome.allocations) / calls;
}

void time_in_turn(const Setting &setting, std::vector<Timed> &peers, int rounds, int calls_per_round)
{
    for (int round = 0; round < rounds; ++round)
        for (Timed &peer : peers)
            peer.rounds.push_back(microseconds_per_call(setting, peer.client, calls_per_round));
}

} // namespace kv::test
