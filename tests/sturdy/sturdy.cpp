// SPDX-License-Identifier: Apache-2.0
// sturdy [--long] [PROGRAM...]
#include "sturdy.hpp"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>

namespace kv::sturdy {

double Times::quantile(double part) const
{
    if (times_.empty())
        return 0;
    std::vector<double> sorted = times_;
    std::sort(sorted.begin(), sorted.end());
    return sorted[static_cast<std::size_t>(std::floor(part * static_cast<double>(sorted.size() - 1)))];
}

std::string format(const char *text, ...)
{
    char line[512];
    va_list values;
    va_start(values, text);
    std::vsnprintf(line, sizeof line, text, values);
    va_end(values);
    return line;
}

int call_agent(korvane_h handle)
{
    char *id = nullptr;
    const int result = korvane_get_device_id(handle, &id);
    std::free(id);
    return result;
}

long resident_kib(pid_t pid)
{
    std::ifstream status{"/proc/" + std::to_string(pid) + "/status"};
    long kib = -1;
    for (std::string word; status >> word;)
        if (word == "VmRSS:")
            status >> kib;
    return kib;
}

int descriptors_of(pid_t pid)
{
    const std::filesystem::directory_iterator all{"/proc/" + std::to_string(pid) + "/fd"};
    return static_cast<int>(std::distance(begin(all), end(all)));
}

namespace {

struct Program {
    const char *name;
    Outcome (*run)(Form form);
};

constexpr Program programs[] = {{"link-cut", cut_links},
                                {"restarts", restart_agents},
                                {"supervised", supervise},
                                {"deadlines", meet_deadlines},
                                {"soak", soak}};

/// Returns whether the program found nothing.
bool run(const Program &program, Form form)
{
    Outcome outcome;
    try {
        outcome = program.run(form);
    } catch (const std::exception &problem) {
        outcome.failures.push_back(problem.what());
    }
    std::printf("%s: %s\n", program.name, outcome.line.c_str());
    for (const std::string &failure : outcome.failures)
        std::printf("%s: FAILED: %s\n", program.name, failure.c_str());
    std::fflush(stdout);
    return outcome.failures.empty();
}

int run_all(const std::vector<std::string> &wanted, Form form)
{
    int failed = 0;
    std::size_t found = 0;
    for (const Program &program : programs) {
        const bool is_wanted = std::find(wanted.begin(), wanted.end(), program.name) != wanted.end();
        found += is_wanted ? 1 : 0;
        if (is_wanted || wanted.empty())
            failed += run(program, form) ? 0 : 1;
    }
    if (found == wanted.size())
        return failed > 0 ? 1 : 0;
    std::fprintf(stderr, "usage: sturdy [--long] [PROGRAM...], with any of");
    for (const Program &program : programs)
        std::fprintf(stderr, " %s", program.name);
    std::fprintf(stderr, "\n");
    return 2;
}

} // namespace

} // namespace kv::sturdy

int main(int argc, char **argv)
{
    using namespace kv::sturdy;
    ::setenv("KORVANE_LOG", "off", 0); // the faults are intended, and every one would print lines
    std::vector<std::string> wanted{argv + 1, argv + argc};
    const Form form = std::erase(wanted, "--long") > 0 ? Form::extended : Form::brief;
    return run_all(wanted, form);
}
