// SPDX-License-Identifier: Apache-2.0
// korvane-bench-calls PEER FOLDER N
// Makes N calls after a few for warming up. Prints the number of their allocations, if count_allocations is preloaded, and
// the mean time of a call in microseconds, without its preparation. With BENCH_TRACE set the process can be traced and
// stops before and after the N calls.

#include "bench/clients/clients.hpp"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <sys/ptrace.h>

extern "C" __attribute__((weak)) unsigned long bench_allocations(void);

namespace {

using Clock = std::chrono::steady_clock;

constexpr int warm_up = 64;

unsigned long allocations()
{
    return bench_allocations ? bench_allocations() : 0;
}

Clock::duration make_prepared_calls(kv::test::Client &client, int count)
{
    Clock::duration taken{};
    for (int i = 0; i < count; ++i) {
        client.prepare();
        const auto start = Clock::now();
        client.call();
        taken += Clock::now() - start;
    }
    return taken;
}

Clock::duration make_calls(kv::test::Client &client, int count)
{
    if (client.needs_preparation())
        return make_prepared_calls(client, count);
    const auto start = Clock::now();
    for (int i = 0; i < count; ++i)
        client.call();
    return Clock::now() - start;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    try {
        const auto client = kv::test::connect_to(argv[1], argv[2]);
        const int calls = atoi(argv[3]);
        const bool traced = getenv("BENCH_TRACE") && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
        make_calls(*client, warm_up);

        const unsigned long before = allocations();
        if (traced)
            raise(SIGSTOP);
        const auto taken = make_calls(*client, calls);
        if (traced)
            raise(SIGSTOP);
        printf("%lu %.3f\n", allocations() - before, std::chrono::duration<double, std::micro>(taken).count() / calls);
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-calls: %s\n", e.what());
        return 1;
    }
}
