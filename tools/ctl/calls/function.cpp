// SPDX-License-Identifier: Apache-2.0
#include "function.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"

#include <korvane_util.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace kv::ctl {

namespace {

constexpr const char *prefix = "korvane_";

} // namespace

std::vector<Parameter> Function::with_role(Parameter::Role role) const
{
    std::vector<Parameter> found;
    std::copy_if(parameters.begin(), parameters.end(), std::back_inserter(found),
                 [role](const Parameter &parameter) { return parameter.role == role; });
    return found;
}

std::string Function::usage() const
{
    std::string text = name;
    for (const Parameter &parameter : with_role(Parameter::Role::given))
        text += " " + parameter.type;
    for (const Parameter &parameter : with_role(Parameter::Role::callback))
        text += "  " + parameter.type;
    const char *mark = "  -> ";
    for (const Parameter &parameter : with_role(Parameter::Role::out))
        text += std::exchange(mark, " ") + parameter.type;
    return text;
}

bool Function::releases() const
{
    return std::strstr(name, "_destroy") || std::strstr(name, "_release");
}

bool Function::releases(const std::string &type) const
{
    return releases() && parameters[0].object && parameters[0].type == type;
}

bool Function::reads(const std::string &type) const
{
    const auto is_plain_out = [](const Parameter &parameter) {
        return parameter.role == Parameter::Role::out && !parameter.object;
    };
    if (parameters.size() < 2)
        return false;
    const Parameter &first = parameters[0];
    return first.object && first.type == type && first.role == Parameter::Role::given &&
           std::all_of(parameters.begin() + 1, parameters.end(), is_plain_out);
}

std::vector<std::string> short_function_names()
{
    std::vector<std::string> names;
    for (const Function &function : all_functions())
        names.emplace_back(function.name + std::strlen(prefix));
    return names;
}

const Function &function_named(const std::string &name)
{
    const std::vector<Function> &functions = all_functions();
    const std::string short_name = name.rfind(prefix, 0) == 0 ? name.substr(std::strlen(prefix)) : name;
    const auto found = std::find_if(functions.begin(), functions.end(),
                                    [&](const Function &function) { return prefix + short_name == function.name; });
    if (found != functions.end())
        return *found;
    throw UsageError{"unknown function '" + name + "'" + suggestion(short_name, short_function_names()) +
                     " ('korvanectl functions' lists them)"};
}

std::string result_name(int code)
{
    const korvane_util_result *result = korvane_util_explain(code);
    return result ? std::string{"KORVANE_ERROR_"} + result->name : std::to_string(code);
}

std::string version_name(int version)
{
    return version == 0 ? "any" : std::to_string(version / 1000) + "." + std::to_string(version % 1000);
}

} // namespace kv::ctl
