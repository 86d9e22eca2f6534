// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/calls/description.hpp"
#include "tools/ctl/calls/function.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"

#include <korvane_results.h>
#include <korvane_util.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>

namespace kv::ctl {

namespace {

constexpr int result_codes[] = {
#define KV_CODE(name, cause, remedy) KORVANE_ERROR_##name,
    KORVANE_RESULTS(KV_CODE)
#undef KV_CODE
};

korvane_util_agent installed_agent()
{
    korvane_util_agent agent{};
    korvane_util_get_agent(&agent);
    return agent;
}

std::string agent_text(const korvane_util_agent &agent)
{
    if (!agent.is_installed)
        return "not installed";
    return agent.version == 0 ? "installed, with a version that cannot be read" : version_name(agent.version);
}

int print_overview(const Output &out)
{
    const korvane_util_agent agent = installed_agent();
    const std::vector<Function> &functions = all_functions();
    const auto available = std::count_if(functions.begin(), functions.end(), [](const Function &function) {
        return korvane_util_is_available(function.name);
    });
    const char *format = agent.uses_documents ? "documents" : "records";
    const std::string count = std::to_string(available) + " of " + std::to_string(functions.size());
    out.line("library:   " + std::string{korvane_util_get_library_version()} + "\nagent:     " + agent_text(agent) +
                 (agent.is_installed ? std::string{"\nformat:    "} + format : "") + "\nfunctions: " + count +
                 " available",
             {{"library", korvane_util_get_library_version()},
              {"agent", agent.version == 0 ? Json{} : Json(version_name(agent.version))},
              {"installed", agent.is_installed},
              {"format", agent.is_installed ? Json(format) : Json{}},
              {"functions", functions.size()},
              {"available", available}});
    return done;
}

/// The parameters and results of a description as lines of text.
std::string documentation_text(const Json &description)
{
    std::string text = "\n" + text_in(description, "summary");
    if (const std::string use = text_in(description, "use"); !use.empty())
        text += " " + use;
    text += "\n\nArguments:";
    for (const Json &parameter : description["parameters"]) {
        text += "\n  " + text_in(parameter, "name") + " (" + text_in(parameter, "direction") + ", " +
                text_in(parameter, "type") + "): " + text_in(parameter, "description");
        for (const char *member : {"unit", "ownership"})
            if (parameter.contains(member))
                text += std::string{"\n    "} + member + ": " + text_in(parameter, member);
    }
    text += "\n\nResults:";
    for (const Json &result : description["results"])
        text += "\n  " + text_in(result, "name") + ": " + text_in(result, "cause");
    return text;
}

int print_function(const Output &out, const char *name)
{
    const int lowest = korvane_util_get_lowest_version(name);
    const bool available = korvane_util_is_available(name);
    const std::string needs = lowest == 0 ? "any agent" : "agent " + version_name(lowest) + " or later";
    const Json description = description_of(name);
    Json object = {{"name", name}, {"lowest_version", version_name(lowest)}, {"available", available}};
    object.update(description);
    out.line(std::string{name} + ": needs " + needs + "; " + (available ? "available" : "not available") +
                 " (agent: " + agent_text(installed_agent()) + ")" + documentation_text(description),
             object);
    return done;
}

int print_result(const Output &out, const korvane_util_result &result)
{
    const std::string name = result_name(result.code);
    out.line(name + " (" + std::to_string(result.code) + "): " + result.cause + "\n  -> " + result.remedy,
             {{"name", name}, {"code", result.code}, {"cause", result.cause}, {"remedy", result.remedy}});
    return done;
}

/// The result code that the text names: its number, or its name with or without KORVANE_ERROR_.
const korvane_util_result *result_for(const std::string &text)
{
    char *end = nullptr;
    const long number = std::strtol(text.c_str(), &end, 0);
    for (const int code : result_codes) {
        const std::string name = result_name(code);
        if ((*end == '\0' && end != text.c_str() && static_cast<int>(number) == code) || name == text ||
            name == "KORVANE_ERROR_" + text)
            return korvane_util_explain(code);
    }
    return nullptr;
}

std::vector<std::string> subjects()
{
    std::vector<std::string> all = short_function_names();
    for (const int code : result_codes)
        all.push_back(korvane_util_explain(code)->name);
    return all;
}

int print_info(const Output &out, const std::string &subject)
{
    setenv("KORVANE_LOG", "off", false); // a missing agent is a result here
    if (subject.empty())
        return print_overview(out);
    if (const korvane_util_result *result = result_for(subject))
        return print_result(out, *result);
    const std::string name = subject.rfind("korvane_", 0) == 0 ? subject : "korvane_" + subject;
    if (korvane_util_get_lowest_version(name.c_str()) >= 0)
        return print_function(out, name.c_str());
    throw UsageError{"'" + subject + "' is neither a function nor a result code" + suggestion(subject, subjects())};
}

std::function<int()> set_up_info(CLI::App &app, Context &context)
{
    auto subject = std::make_shared<std::string>();
    app.add_option("SUBJECT", *subject, "A function, or a result code by its name or number");
    return [&context, subject] { return print_info(context.out, *subject); };
}

std::vector<std::string> complete_info(const std::vector<std::string> &words)
{
    return words.size() == 1 ? subjects() : std::vector<std::string>{};
}

} // namespace

const Verb info_verb{
    .name = "info",
    .help = "Show the installed agent, the arguments and results of a function, or what a result code means",
    .usage = "[SUBJECT]",
    .examples = "  korvanectl info\n"
                "  korvanectl info korvane_set_random_pin\n"
                "  korvanectl info -1073741827",
    .set_up = set_up_info,
    .complete = complete_info,
};

} // namespace kv::ctl
