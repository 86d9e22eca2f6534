// SPDX-License-Identifier: Apache-2.0
// korvane-bench-calls PEER FOLDER N
// Makes N calls after a few to warm up and prints how many allocations they made, if something counts them.
// With BENCH_TRACE set it asks to be traced and stops right before and right after the N calls.

#include "clients.hpp"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>

#include <sys/ptrace.h>

extern "C" __attribute__((weak)) unsigned long bench_allocations(void);

namespace {

constexpr int warm_up = 64;

unsigned long allocations()
{
    return bench_allocations ? bench_allocations() : 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    try {
        const auto client = bench::connect_to(argv[1], argv[2]);
        const int calls = atoi(argv[3]);
        const bool traced = getenv("BENCH_TRACE") && ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
        for (int i = 0; i < warm_up; ++i)
            client->call();

        const unsigned long before = allocations();
        if (traced)
            raise(SIGSTOP);
        for (int i = 0; i < calls; ++i)
            client->call();
        if (traced)
            raise(SIGSTOP);
        printf("%lu\n", allocations() - before);
        return 0;
    } catch (const std::exception &e) {
        fprintf(stderr, "korvane-bench-calls: %s\n", e.what());
        return 1;
    }
}
