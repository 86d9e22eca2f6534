// SPDX-License-Identifier: Apache-2.0
// The same with the header for C++.
#include <korvane_test.hpp>

#include <cstdio>

int main()
{
    try {
        korvane::test::Agent agent{"1.0"};
        std::puts(agent.ask("state cloud").c_str());
        return agent.count_calls("start");
    } catch (const std::exception &problem) {
        std::puts(problem.what());
        return 1;
    }
}
