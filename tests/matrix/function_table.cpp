// SPDX-License-Identifier: Apache-2.0
#include "function_table.hpp"

#include <algorithm>
#include <stdexcept>

namespace kv::test::matrix {

const std::vector<Family> &families()
{
    static const std::vector<Family> all = [] {
        std::vector<Family> joined = setup_families();
        for (Family &family : cloud_families())
            joined.push_back(std::move(family));
        return joined;
    }();
    return all;
}

const std::vector<Function> &functions()
{
    static const std::vector<Function> all = [] {
        std::vector<Function> joined;
        for (const Family &family : families())
            joined.insert(joined.end(), family.functions.begin(), family.functions.end());
        return joined;
    }();
    return all;
}

const Function &function_named(const std::string &name)
{
    const auto found = std::find_if(functions().begin(), functions().end(),
                                    [&](const Function &function) { return function.name == name; });
    if (found == functions().end())
        throw std::logic_error("the table has no function " + name);
    return *found;
}

const Event &event_numbered(int id)
{
    return events().at(static_cast<std::size_t>(id - 1));
}

bool once(const Event &event)
{
    return !event.asked_by.starts_with("korvane_set_");
}

std::string shown_agent(int version)
{
    if (version == absent)
        return "absent";
    if (version == unreadable)
        return "unreadable";
    return std::to_string(version / 1000) + "." + std::to_string(version % 1000);
}

int result_with(const Function &function, int agent)
{
    if (agent == absent)
        return KORVANE_ERROR_NOT_SUPPORTED;
    return agent < function.since ? KORVANE_ERROR_AGENT_VERSION_LOWER : ok;
}

std::optional<Request> request_with(const Function &function, int agent)
{
    std::optional<Request> latest;
    for (const Request &request : function.requests)
        if (request.since <= agent)
            latest = request;
    return latest;
}

} // namespace kv::test::matrix
