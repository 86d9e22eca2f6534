// SPDX-License-Identifier: Apache-2.0
#include "instructions.hpp"

#include "bench/clients/clients.hpp"
#include "bench/support/callgrind.hpp"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <stdexcept>

namespace kv::test {

namespace {

constexpr double tolerance = 0.02;
/// The newest version that accepts the list as records.
constexpr const char *record_version = "2.2";

using Figures = std::map<std::string, long>;

/// A client whose server is the stub alone.
struct Counted {
    const char *name;
    const char *client;
    int few;
    int many;
    const char *version = Setting::newest_version;
};

constexpr Counted clients[] = {
    {"call-through-proxy", peer::proxy, 100, 600},
    {"call-through-api", peer::api, 100, 600},
    {"list-through-proxy", peer::proxy_list, 20, 70, record_version},
    {"list-through-api", peer::api_list, 20, 70, record_version},
    {"list-of-records", peer::whole_list, 20, 70, record_version},
    {"list-as-document", peer::whole_list, 20, 70},
};

long own(const Instructions &counted)
{
    return std::lround(counted.own);
}

/// Without the system's libraries: a new version of one, or another processor, does not change these figures.
Figures count(const Setting &setting)
{
    Figures figures;
    for (const Counted &row : clients) {
        const auto server = setting.serve(AgentKind::stub, row.version);
        figures[row.name] = own(instructions_per_call(setting, row.client, row.few, row.many));
    }
    {
        const auto server = setting.serve_events(peer::stub);
        figures["event"] = own(instructions_per_call(setting, peer::api_event, 100, 600));
    }
    if (has_virtual_agent())
        figures["agent-call"] = own(agent_instructions_per_call(setting, peer::api, 100, 1100));
    return figures;
}

Figures read(const std::string &path)
{
    Figures figures;
    std::ifstream file(path);
    std::string name;
    for (long figure = 0; file >> name >> figure;)
        figures[name] = figure;
    if (figures.empty())
        throw std::runtime_error("cannot read the stored figures in " + path);
    return figures;
}

/// Prints a row and returns whether the figure has hardly changed.
bool compare(const std::string &name, long now, const Figures &stored)
{
    const auto found = stored.find(name);
    if (found == stored.end()) {
        printf("  %-20s %8ld   has no stored figure\n", name.c_str(), now);
        return false;
    }
    const double change = static_cast<double>(now - found->second) / static_cast<double>(found->second);
    const bool is_same = std::abs(change) <= tolerance;
    printf("  %-20s %8ld   stored %8ld   %+6.2f %%%s\n", name.c_str(), now, found->second, change * 100,
           is_same ? "" : "   CHANGED");
    return is_same;
}

} // namespace

bool compare_instructions(const Setting &setting, const std::string &file)
{
    const Figures stored = read(file);
    printf("Instructions of own code per call, without the libraries of the system\n");
    bool all_same = true;
    for (const auto &[name, now] : count(setting))
        all_same = compare(name, now, stored) && all_same;
    if (!all_same)
        printf("A figure differs by more than 2 %%. If the change is meant, store the figures: ./dev bench "
               "--store-instructions\n");
    return all_same;
}

void store_instructions(const Setting &setting, const std::string &file)
{
    std::ofstream stored(file);
    for (const auto &[name, figure] : count(setting))
        stored << name << ' ' << figure << '\n';
    if (!stored.flush())
        throw std::runtime_error("cannot write " + file);
}

} // namespace kv::test
