// SPDX-License-Identifier: Apache-2.0
// The agent describes its commands, so that a new command of a newer agent is a verb without a change here.
#include "agent_commands.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"
#include "usage.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>

namespace kv::ctl {

namespace {

using Kind = CommandParameter::Kind;

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char letter) { return static_cast<char>(std::toupper(static_cast<unsigned char>(letter))); });
    return text;
}

Json number_from(const std::string &text, const std::string &name)
{
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stopped != end || text.empty())
        throw UsageError{upper(name) + " must be a whole number, not '" + text + "'"};
    return number;
}

std::string file_content(const std::string &path, const std::string &name)
{
    std::ifstream file{path};
    std::ostringstream content;
    if (!file || !(content << file.rdbuf()))
        throw UsageError{"cannot read '" + path + "' for " + upper(name)};
    return content.str();
}

Json json_from(const std::string &text, const std::string &name)
{
    const bool in_file = text.rfind('@', 0) == 0;
    return parsed_argument(in_file ? file_content(text.substr(1), name) : text, upper(name));
}

Json argument_from(const CommandParameter &parameter, const std::string &text)
{
    switch (parameter.kind) {
    case Kind::number: return number_from(text, parameter.name);
    case Kind::json: return json_from(text, parameter.name);
    case Kind::word: break;
    }
    return text;
}

/// The words for a command, which are taken in the order of its parameters.
class Words {
public:
    explicit Words(const std::vector<std::string> &words) : words_(words) {}

    /// The next word; nullopt if it is "-", which leaves an argument out, or if there is none.
    std::optional<std::string> next()
    {
        if (at_end())
            return std::nullopt;
        const std::string &word = words_[next_++];
        return word == "-" ? std::nullopt : std::optional{word};
    }
    /// All words that are left, with a space before each: JSON that was typed without quotes.
    std::string rest()
    {
        std::string text;
        while (!at_end())
            text += " " + words_[next_++];
        return text;
    }
    const std::string &peek() const { return words_[next_]; }
    bool at_end() const { return next_ == words_.size(); }

private:
    const std::vector<std::string> &words_;
    std::size_t next_ = 0;
};

/// The arguments of a command as a JSON object.
Json arguments_from(const AgentCommand &command, const std::vector<std::string> &given)
{
    Json arguments = Json::object();
    Words words{given};
    for (const CommandParameter &parameter : command.parameters) {
        std::optional<std::string> word = words.next();
        if (!word && parameter.required)
            throw UsageError{upper(parameter.name) + " is missing: " + command.usage()};
        if (!word)
            continue;
        if (parameter.kind == Kind::json && &parameter == &command.parameters.back())
            *word += words.rest();
        arguments[parameter.name] = argument_from(parameter, *word);
    }
    if (!words.at_end())
        throw UsageError{"unexpected argument '" + words.peek() + "': " + command.usage()};
    return arguments;
}

/// The reply of a command as text, without the member "ok", which every reply has.
std::string reply_text(Json reply)
{
    reply.erase("ok");
    if (reply.empty())
        return "done";
    if (reply.size() > 1)
        return indented_text_of(reply);
    const Json &only = *reply.begin();
    if (only.is_string())
        return printable(only.get<std::string>());
    return only.is_structured() ? indented_text_of(only) : reply.begin().key() + " " + text_of(only);
}

/// Whether a command can be a verb: letters, digits, '-' and '_', beginning with a letter or digit.
bool is_verb_name(const std::string &name)
{
    const auto is_allowed = [](unsigned char letter) { return std::isalnum(letter) || letter == '-' || letter == '_'; };
    return !name.empty() && std::isalnum(static_cast<unsigned char>(name[0])) &&
           std::all_of(name.begin(), name.end(), is_allowed);
}

void add_names(const Json &description, const std::string &member, std::vector<std::string> &names)
{
    const Json &list = member_of(description, member.c_str());
    if (!list.is_array())
        return;
    for (const Json &item : list) {
        const Json &name = item.is_object() ? member_of(item, "name") : item;
        if (name.is_string())
            names.push_back(name);
    }
}

/// The member of the agent's description that lists the values of a parameter: steps under the command's own name.
std::string list_of_values(const std::string &command, const std::string &parameter)
{
    if (parameter == "step")
        return command;
    return command == "personality" ? "personalities" : parameter + "s";
}

} // namespace

std::string usage_and_help(const AgentCommand &command)
{
    return printable(command.usage() + "\n    " + command.help);
}

int run_command(const Context &context, const Agent &agent, const std::string &name,
                const std::vector<std::string> &words)
{
    const AgentCommand *command = agent.find_command(name);
    if (!command)
        throw UsageError{"unknown command '" + name + "' of this agent" + suggestion(name, agent.command_names()) +
                         " ('korvanectl do' lists them)"};
    const Json reply = agent.run(name, arguments_from(*command, words));
    context.out.line(reply_text(reply), reply);
    return done;
}

std::vector<CommandVerb> add_commands(CLI::App &app, Context &context, const Agent &agent)
{
    std::vector<CommandVerb> verbs;
    for (const AgentCommand &command : agent.commands()) {
        const std::string name = command.name;
        if (!is_verb_name(name) || is_verb(app, name)) // 'korvanectl do' reaches it
            continue;
        CLI::App *sub = app.add_subcommand(name, printable(command.help));
        sub->group("Commands of the running agent");
        sub->prefix_command();
        set_usage(*sub, printable(command.form));
        sub->footer("JSON can be given as @FILE; '-' leaves an optional argument out.\n"
                    "'korvanectl do help' lists commands, events, faults and steps.");
        verbs.push_back(
            {sub, [sub, name, &context, &agent] { return run_command(context, agent, name, sub->remaining()); }});
    }
    return verbs;
}

std::optional<Agent> agent_for_completion()
{
    try {
        return Agent::if_running();
    } catch (const Failure &) {
        return std::nullopt;
    }
}

std::vector<std::string> complete_command(const Agent &agent, const std::string &command,
                                          const std::vector<std::string> &words)
{
    const AgentCommand *known = agent.find_command(command);
    if (!known || words.empty() || words.size() > known->parameters.size() || !agent.find_command("describe"))
        return {};
    const std::string &parameter = known->parameters[words.size() - 1].name;
    const Json reply = agent.run("describe");
    const Json &description = reply.contains("interface") ? member_of(reply, "interface") : reply;
    std::vector<std::string> names;
    add_names(description, list_of_values(command, parameter), names);
    if (parameter == "method")
        names.emplace_back("all");
    return names;
}

} // namespace kv::ctl
