// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/verbs/verbs.hpp"

#include <clocale>
#include <cstdio>

using namespace kv::ctl;

namespace {

/// The exit status. Output that was lost, for instance on a full disk, is a failure.
int checked(int status)
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return status;
    std::fputs("korvanectl: cannot write all of the output; the disk may be full, or the reader may have ended\n",
               stderr);
    return status == done ? failed : status;
}

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_ALL, "");
    try {
        return checked(run_command_line(all_verbs, {argv + 1, argv + argc}));
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
