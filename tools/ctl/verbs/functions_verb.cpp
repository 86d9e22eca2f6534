// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/calls/description.hpp"
#include "tools/ctl/calls/function.hpp"
#include "tools/ctl/output/failure.hpp"

#include <korvane_util.h>

#include <CLI/CLI.hpp>

namespace kv::ctl {

namespace {

Json types_of(const std::vector<Parameter> &parameters)
{
    Json types = Json::array();
    for (const Parameter &parameter : parameters)
        types.push_back(parameter.type);
    return types;
}

int list_functions(const Output &out, const std::string &text)
{
    int listed = 0;
    for (const Function &function : all_functions()) {
        if (std::string{function.name}.find(text) == std::string::npos)
            continue;
        ++listed;
        Json object = {{"name", function.name},
                       {"lowest_version", version_name(korvane_util_get_lowest_version(function.name))},
                       {"arguments", types_of(function.with_role(Parameter::Role::given))},
                       {"callbacks", types_of(function.with_role(Parameter::Role::callback))},
                       {"outs", types_of(function.with_role(Parameter::Role::out))}};
        object.update(description_of(function.name));
        out.line(function.usage(), object);
    }
    if (listed == 0)
        throw Failure{failed, "no function has '" + text + "' in its name; 'korvanectl functions' lists all"};
    return done;
}

std::function<int()> set_up_functions(CLI::App &app, Context &context)
{
    auto text = std::make_shared<std::string>();
    app.add_option("TEXT", *text, "List only functions whose name contains TEXT");
    return [&context, text] { return list_functions(context.out, *text); };
}

} // namespace

const Verb functions_verb{
    .name = "functions",
    .help = "List the exported functions with their arguments and out values",
    .usage = "[TEXT]",
    .examples = "  korvanectl functions aplist\n"
                "  korvanectl functions --json | jq -r .name",
    .set_up = set_up_functions,
};

} // namespace kv::ctl
