// SPDX-License-Identifier: Apache-2.0
// korvane-bench-calls PEER FOLDER N        makes N calls in a row
// korvane-bench-calls PEER FOLDER N paced  begins one call in each millisecond
//     Prints the number of allocations, if count_allocations is preloaded, and the microseconds of a call without its
//     preparation: their mean, or for paced calls their median. With BENCH_TRACE set the process can be traced and stops
//     before and after the N calls.
// korvane-bench-calls PEER FOLDER MS together
//     Prints a line when it is connected, waits for a line, makes calls for MS milliseconds and prints their number.

#include "bench/clients/clients.hpp"
#include "bench/support/median.hpp"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <thread>

#include <sys/ptrace.h>

extern "C" __attribute__((weak)) unsigned long bench_allocations(void);

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr int warm_up = 64;

unsigned long allocations()
{
    return bench_allocations ? bench_allocations() : 0;
}

/// Microseconds of a call.
double time_call(kv::test::Client &client)
{
    if (client.needs_preparation())
        client.prepare();
    const auto start = Clock::now();
    client.call();
    return Microseconds(Clock::now() - start).count();
}

/// The mean of calls in a row.
double make_calls(kv::test::Client &client, int count)
{
    if (client.needs_preparation()) {
        double sum = 0;
        for (int i = 0; i < count; ++i)
            sum += time_call(client);
        return sum / count;
    }
    const auto start = Clock::now();
    for (int i = 0; i < count; ++i)
        client.call();
    return Microseconds(Clock::now() - start).count() / count;
}

/// The median of paced calls.
double make_paced_calls(kv::test::Client &client, int count)
{
    std::vector<double> times;
    auto next = Clock::now();
    for (int i = 0; i < count; ++i) {
        std::this_thread::sleep_until(next += std::chrono::milliseconds{1});
        times.push_back(time_call(client));
    }
    return kv::test::median(std::move(times));
}

void measure_calls(kv::test::Client &client, int calls, bool paced)
{
    const bool traced = getenv("BENCH_TRACE") && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
    make_calls(client, warm_up);

    const unsigned long before = allocations();
    if (traced)
        raise(SIGSTOP);
    const double time = paced ? make_paced_calls(client, calls) : make_calls(client, calls);
    if (traced)
        raise(SIGSTOP);
    printf("%lu %.3f\n", allocations() - before, time);
}

void count_calls_beside_others(kv::test::Client &client, std::chrono::milliseconds duration)
{
    make_calls(client, warm_up);
    puts("connected");
    fflush(stdout);
    getchar();
    long calls = 0;
    for (const auto end = Clock::now() + duration; Clock::now() < end; ++calls)
        client.call();
    printf("%ld\n", calls);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string mode = argc == 5 ? argv[4] : "";
    if (argc < 4 || argc > 5 || (argc == 5 && mode != "paced" && mode != "together"))
        return 2;
    try {
        const auto client = kv::test::connect_to(argv[1], argv[2]);
        const int count = atoi(argv[3]);
        if (mode == "together")
            count_calls_beside_others(*client, std::chrono::milliseconds{count});
        else
            measure_calls(*client, count, mode == "paced");
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-calls: %s\n", e.what());
        return 1;
    }
}
