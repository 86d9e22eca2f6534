// SPDX-License-Identifier: Apache-2.0
#include "size.hpp"

#include <filesystem>
#include <sstream>

namespace kv::test {

namespace {

constexpr double max_library_bytes = 100'000;
constexpr double max_heap_bytes = 64 * 1024;

double stripped_size(const Setting &setting, const std::string &library)
{
    const std::string stripped = setting.folder() + "/stripped";
    run({"strip", "-s", "-o", stripped, library});
    return static_cast<double>(std::filesystem::file_size(stripped));
}

int exported_functions(const std::string &library)
{
    std::istringstream lines(run({"nm", "--dynamic", "--defined-only", library}));
    int count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.find(" T ") != std::string::npos;
    return count;
}

} // namespace

void measure_size(const Setting &setting, Report &report)
{
    report.section("Size: libraries as they are shipped, stripped; heap that stays in use");
    const double bytes = stripped_size(setting, BENCH_LIBRARY);
    const int functions = exported_functions(BENCH_LIBRARY);
    report.row("libkorvane", format("%7.0f bytes", bytes), format("<= %.0f", max_library_bytes),
               bytes <= max_library_bytes);
    report.row(format("libkorvane, per exported function (%d)", functions), format("%7.0f bytes", bytes / functions));
    report.row("libkvplatform", format("%7.0f bytes", stripped_size(setting, BENCH_PLATFORM)));

    const auto server = setting.serve(AgentKind::stub);
    const double held = std::stod(run({program("korvane-bench-size")}));
    report.row("heap held after korvane_initialize", format("%7.0f bytes", held), format("<= %.0f", max_heap_bytes),
               held <= max_heap_bytes);
}

} // namespace kv::test
