// SPDX-License-Identifier: Apache-2.0
#include "previous_run.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include <glib.h>

namespace kv::test {

namespace {

/// The processors: figures of others cannot be compared.
std::string this_machine()
{
    std::string model = "unknown processor";
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("model name")) {
            model = line.substr(line.find(':') + 2);
            break;
        }
    return std::to_string(std::thread::hardware_concurrency()) + " x " + model;
}

std::string now()
{
    g_autoptr(GDateTime) time = g_date_time_new_now_local();
    g_autofree char *text = g_date_time_format(time, "%F %H:%M");
    return text;
}

} // namespace

// The file has the machine, the date, and a line "FIGURE ROW" for each row.
PreviousRun::PreviousRun() : path_(std::string{g_get_user_state_dir()} + "/korvane/bench.txt"), machine_(this_machine())
{
    std::ifstream file(path_);
    std::string machine;
    std::string date;
    if (!std::getline(file, machine) || machine != machine_ || !std::getline(file, date))
        return;
    date_ = date;
    double figure = 0;
    for (std::string row; file >> figure && file.get() && std::getline(file, row);)
        figures_[row] = figure;
}

std::optional<double> PreviousRun::figure(const std::string &row) const
{
    const auto found = figures_.find(row);
    return found == figures_.end() ? std::nullopt : std::optional{found->second};
}

void PreviousRun::store(const std::map<std::string, double> &figures) const
{
    std::map<std::string, double> all = figures;
    all.insert(figures_.begin(), figures_.end());
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path{path_}.parent_path(), ignored);
    std::ofstream file(path_);
    file << machine_ << '\n' << now() << '\n';
    for (const auto &[row, figure] : all)
        file << figure << ' ' << row << '\n';
    if (!file.flush())
        fprintf(stderr, "korvane-bench: cannot store the figures in %s: %s\n", path_.c_str(), strerror(errno));
}

} // namespace kv::test
