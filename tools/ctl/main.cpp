// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/verbs/verbs.hpp"

#include <clocale>
#include <cstdio>

using namespace kv::ctl;

int main(int argc, char **argv)
{
    std::setlocale(LC_ALL, "");
    try {
        return run_command_line(all_verbs, {argv + 1, argv + argc});
    } catch (const Failure &problem) {
        std::fprintf(stderr, "korvanectl: %s\n", problem.what());
        if (problem.status == wrong_usage)
            std::fputs("Try korvanectl --help\n", stderr);
        return problem.status;
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvanectl: %s\n", problem.what());
        return failed;
    }
}
