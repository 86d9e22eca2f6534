// SPDX-License-Identifier: Apache-2.0
#include "usage.hpp"

#include <CLI/CLI.hpp>

#include <memory>

namespace kv::ctl {

namespace {

/// The parser's own usage line leaves out the program behind "--" and words that are parsed later.
class UsageFormatter : public CLI::Formatter {
public:
    explicit UsageFormatter(std::string arguments) : arguments_(std::move(arguments)) {}

    std::string make_usage(const CLI::App *, std::string name) const override
    {
        return "Usage: " + name + " [OPTIONS]" + (arguments_.empty() ? "" : " " + arguments_) + "\n";
    }

private:
    std::string arguments_;
};

} // namespace

void set_usage(CLI::App &app, const std::string &arguments)
{
    app.formatter(std::make_shared<UsageFormatter>(arguments));
}

bool is_verb(const CLI::App &app, const std::string &name)
{
    return !app.get_subcommands([&name](const CLI::App *verb) { return verb->get_name() == name; }).empty();
}

std::vector<std::string> listed_verbs(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::App *verb : app.get_subcommands([](const CLI::App *one) { return !one->get_group().empty(); }))
        names.push_back(verb->get_name());
    return names;
}

std::vector<std::string> option_names(const CLI::App &verb)
{
    std::vector<std::string> names;
    for (const CLI::Option *option : verb.get_options())
        for (const std::string &name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

} // namespace kv::ctl
