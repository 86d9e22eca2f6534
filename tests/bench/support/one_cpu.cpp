// SPDX-License-Identifier: Apache-2.0
#include "one_cpu.hpp"

#include <cerrno>
#include <system_error>

namespace kv::test {

OnOneCpu::OnOneCpu()
{
    if (sched_getaffinity(0, sizeof previous_, &previous_) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_getaffinity");

    // The last one that is allowed: the first usually handles the interrupts of the machine.
    int last = -1;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
        if (CPU_ISSET(cpu, &previous_))
            last = cpu;
    cpu_set_t chosen;
    CPU_ZERO(&chosen);
    CPU_SET(last, &chosen);
    if (sched_setaffinity(0, sizeof chosen, &chosen) != 0)
        throw std::system_error(errno, std::generic_category(), "sched_setaffinity");
}

OnOneCpu::~OnOneCpu()
{
    sched_setaffinity(0, sizeof previous_, &previous_);
}

} // namespace kv::test
