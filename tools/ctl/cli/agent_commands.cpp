// SPDX-License-Identifier: Apache-2.0
// The commands of the running agent as verbs. Which there are is the agent's to say.
#include "agent_commands.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"

#include <CLI/CLI.hpp>

#include <charconv>
#include <fstream>
#include <sstream>

namespace kv::ctl {

namespace {

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char letter) { return static_cast<char>(std::toupper(static_cast<unsigned char>(letter))); });
    return text;
}

Json number_in(const std::string &text, const std::string &name)
{
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stopped != end || text.empty())
        throw UsageError{upper(name) + " must be a whole number, not '" + text + "'"};
    return number;
}

Json json_in(const std::string &text, const std::string &name)
{
    std::string content = text;
    if (text.rfind('@', 0) == 0) {
        std::ifstream file{text.substr(1)};
        std::ostringstream read;
        if (!file || !(read << file.rdbuf()))
            throw UsageError{"cannot read '" + text.substr(1) + "', which " + upper(name) + " names"};
        content = read.str();
    }
    Json value = Json::parse(content, nullptr, false);
    if (value.is_discarded())
        throw UsageError{upper(name) + " must be JSON, or @FILE that holds it, not '" + text + "'"};
    return value;
}

std::string shown(const Json &command)
{
    const std::string form = command["form"].get<std::string>();
    return command["name"].get<std::string>() + (form.empty() ? "" : " " + form);
}

std::string form_and_help(const Json &command)
{
    return shown(command) + "\n    " + command["help"].get<std::string>();
}

/// What is told of an answer, without what every answer has.
std::string words_of(Json answer)
{
    answer.erase("ok");
    if (answer.empty())
        return "done";
    if (answer.size() > 1)
        return answer.dump(2, ' ', false, Json::error_handler_t::replace);
    const Json &only = *answer.begin();
    if (only.is_string())
        return only.get<std::string>();
    return only.is_structured() ? only.dump(2, ' ', false, Json::error_handler_t::replace)
                                : answer.begin().key() + " " + text_of(only);
}

std::vector<std::string> names_of(const Json &overview)
{
    std::vector<std::string> names;
    for (const Json &command : overview["commands"])
        names.push_back(command["name"]);
    return names;
}

std::function<int()> set_up_do(CLI::App &app, Context &context)
{
    app.prefix_command();
    return [&app, &context] {
        const std::vector<std::string> words = app.remaining();
        const Agent agent;
        if (words.empty()) {
            for (const Json &command : agent.overview()["commands"])
                context.out.line(form_and_help(command), command);
            return static_cast<int>(done);
        }
        const Json *command = agent.find_command(words[0]);
        if (command && words.size() == 2 && (words[1] == "--help" || words[1] == "-h")) {
            context.out.line(form_and_help(*command), *command);
            return static_cast<int>(done);
        }
        return steer(context, agent, words[0], {words.begin() + 1, words.end()});
    };
}

} // namespace

Json arguments_of(const Json &command, const std::vector<std::string> &words)
{
    Json arguments = Json::object();
    std::size_t next = 0;
    for (const Json &parameter : command["parameters"]) {
        const std::string name = parameter["name"];
        const std::string kind = parameter["kind"];
        const bool last = &parameter == &command["parameters"].back();
        if (next == words.size() || words[next] == "-") { // nothing, so that what stands behind it can be given
            if (parameter["required"])
                throw UsageError{upper(name) + " is missing: " + shown(command)};
            next += next < words.size() ? 1 : 0;
            continue;
        }
        std::string word = words[next++];
        while (last && kind == "json" && next < words.size()) // as it may be typed without quotes
            word += " " + words[next++];
        arguments[name] = kind == "number" ? number_in(word, name) : kind == "json" ? json_in(word, name) : Json(word);
    }
    if (next < words.size())
        throw UsageError{"what is '" + words[next] + "'? It is " + shown(command)};
    return arguments;
}

int steer(const Context &context, const Agent &agent, const std::string &name, const std::vector<std::string> &words)
{
    const Json *command = agent.find_command(name);
    if (!command)
        throw UsageError{"this agent has no command '" + name + "'" + suggestion(name, names_of(agent.overview())) +
                         " ('korvanectl do' lists them)"};
    const Json answer = agent.run(name, arguments_of(*command, words));
    context.out.line(words_of(answer), answer);
    return done;
}

std::vector<SteeringVerb> add_commands(CLI::App &app, Context &context, const Agent &agent)
{
    std::vector<SteeringVerb> verbs;
    for (const Json &command : agent.overview()["commands"]) {
        const std::string name = command["name"];
        const auto &known = app.get_subcommands([&name](const CLI::App *sub) { return sub->get_name() == name; });
        if (!known.empty()) // a verb of one's own; 'do' reaches the command
            continue;
        CLI::App *sub = app.add_subcommand(name, command["help"]);
        sub->group("Commands of the running agent");
        sub->prefix_command();
        sub->footer("Form: korvanectl " + shown(command) +
                    "\nJSON may be given as @FILE; '-' leaves an argument out that others follow.\n"
                    "'korvanectl help' lists events, faults and steps.");
        verbs.push_back({sub, [sub, name, &context, &agent] { return steer(context, agent, name, sub->remaining()); }});
    }
    return verbs;
}

const Verb do_verb{"do", "carries out any command of the running agent; lists them when none is named",
                   "  korvanectl do\n"
                   "  korvanectl do emit status_changed_cb '[2]'\n"
                   "  korvanectl do fault start result -1",
                   set_up_do};

} // namespace kv::ctl
