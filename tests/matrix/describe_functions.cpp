// SPDX-License-Identifier: Apache-2.0
// Prints the reference page of the exported functions. The families are those of the table. Lowest versions and methods
// are observed: each function is called with every agent over the fake platform.

#include "src/kv_master/interface.hpp"
#include "world.hpp"

#include <cstdio>
#include <exception>

namespace {

using namespace kv::test::matrix;

std::string name_of_method(int id)
{
    std::string name;
    kv::describe::for_each(kv::master::Methods{}, [&]<class M>() {
        if (M::id == id)
            name = M::name;
    });
    return name;
}

std::string shown(const Request &request)
{
    const std::string id = std::to_string(request.method);
    const std::string method = "`" + name_of_method(request.method) + "` (" + id + ")";
    return request.command == 0 ? method : method + " with command " + std::to_string(request.command);
}

std::string shown(const std::vector<Request> &requests)
{
    std::string methods;
    for (const Request &request : requests)
        methods += (methods.empty() ? "" : ", ") + shown(request);
    return methods.empty() ? "none" : methods;
}

/// The observed behaviour of a function with the agents of all versions.
struct Observed {
    std::string lowest; // lowest agent version with which it works; empty if it works with none
    std::string methods;
};

Observed observe(const Function &function)
{
    Observed observed;
    std::string latest;
    for (const int agent : agents) {
        kv::test::FakePlatform::instance().reset();
        const Outcome outcome = World{}.outcome_of(function, agent);
        if (outcome.result != ok)
            continue;
        const std::string methods = shown(outcome.requests);
        if (observed.lowest.empty()) {
            observed.lowest = agent == unreadable ? "any" : shown_agent(agent);
            observed.methods = methods;
        } else if (methods != latest) {
            observed.methods += "; from " + shown_agent(agent) + " on " + methods;
        }
        latest = methods;
    }
    return observed;
}

} // namespace

int main()
try {
    std::printf("# The exported functions\n\n"
                "Made by `tests/matrix/describe_functions.cpp`, which calls each function with agents of every version "
                "and notes what it\n"
                "sees; do not edit. `./dev docs` writes it.\n\n"
                "All %zu functions in the order of `include/korvane.h`, which describes them. With an agent below the "
                "lowest version a\n"
                "function returns `KORVANE_ERROR_AGENT_VERSION_LOWER`; `any` includes an agent whose version cannot be "
                "read. The agent\n"
                "methods are those of [the kv_master interface](kv_master.md), with their ids; a function without one "
                "is answered by the\n"
                "library itself. Commands are numbers in the JSON text of `common_interface`.\n\n"
                "| function | family | lowest agent version | agent method |\n|---|---|---|---|\n",
                functions().size());
    for (const Family &family : families())
        for (const Function &function : family.functions) {
            const Observed observed = observe(function);
            std::printf("| `%s` | %s | %s | %s |\n", function.name.c_str(), family.name.c_str(),
                        observed.lowest.c_str(), observed.methods.c_str());
        }
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "describe-functions: %s\n", error.what());
    return 1;
}
