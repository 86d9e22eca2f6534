// SPDX-License-Identifier: Apache-2.0
#include "scenario.hpp"

#include "reading/scenario_reader.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace kv::virtual_agent {

Scenario Scenario::parse(const std::string &text, const ScenarioInput &input)
{
    return ScenarioReader{input}.parse(text);
}

Scenario Scenario::from_json(const cJSON *document, const ScenarioInput &input)
{
    return ScenarioReader{input}.from_json(document);
}

Scenario Scenario::load(const std::string &path, const ScenarioInput &input)
{
    return ScenarioReader{input}.load(path);
}

const Scenario::Step::Request *Scenario::Step::request_to(int version) const
{
    const Request *latest = nullptr;
    for (const Request &request : requests)
        if (request.since <= version)
            latest = &request;
    return latest;
}

void Scenario::require(int version) const
{
    if (is_part)
        throw std::invalid_argument{"the scenario '" + title + "' is a part, which other scenarios include"};
    if (applies_to(version))
        return;
    const std::string oldest = since == 0 ? "" : " from " + version_text(since) + " on";
    const std::string newest = before == std::numeric_limits<int>::max() ? "" : " before " + version_text(before);
    throw std::invalid_argument{"the scenario '" + title + "' is for agents" + oldest + newest + ", not for " +
                                version_text(version)};
}

void Scenario::append(Scenario more)
{
    if (title.empty())
        title = std::move(more.title);
    since = std::max(since, more.since);
    before = std::min(before, more.before);
    is_part = is_part || more.is_part;
    variables.insert(variables.end(), more.variables.begin(), more.variables.end());
    if (!seed)
        seed = more.seed;
    steps.insert(steps.end(), std::make_move_iterator(more.steps.begin()), std::make_move_iterator(more.steps.end()));
}

} // namespace kv::virtual_agent
