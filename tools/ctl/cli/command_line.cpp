// SPDX-License-Identifier: Apache-2.0
#include "command_line.hpp"

#include "agent_commands.hpp"
#include "completion.hpp"
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"
#include "usage.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace kv::ctl {

namespace {

constexpr const char *json_help = "Print results as lines of JSON";
constexpr const char *footer = "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no agent.\n"
                               "'korvanectl help VERB' describes a verb and shows examples.";

Failure unknown_verb(const CLI::App &app, const std::string &name, bool agent_runs)
{
    const std::string similar = suggestion(name, listed_verbs(app));
    if (agent_runs || !similar.empty())
        return UsageError{"unknown verb '" + name + "'" + similar};
    return Failure{no_agent, "unknown verb '" + name +
                                 "'; if it is a command of the agent, start one with 'korvanectl agent start'"};
}

/// The first word that is not an option.
std::string verb_in(const std::vector<std::string> &words)
{
    const auto found =
        std::find_if(words.begin(), words.end(), [](const auto &word) { return word.rfind('-', 0) != 0; });
    return found == words.end() ? "" : *found;
}

/// "help VERB" means "VERB --help".
void replace_help(std::vector<std::string> &words)
{
    const bool about_verb = words.size() == 2 && words[1].rfind('-', 0) != 0;
    if (words.empty() || words[0] != "help" || (words.size() > 1 && !about_verb))
        return;
    words.erase(words.begin());
    words.emplace_back("--help");
}

/// Removes what belongs to no verb: the program behind "--", and --json, which is allowed anywhere.
void take_common(std::vector<std::string> &words, Context &context)
{
    if (const auto mark = std::find(words.begin(), words.end(), "--"); mark != words.end()) {
        context.program.assign(mark + 1, words.end());
        words.erase(mark, words.end());
    }
    context.out.json = std::erase(words, "--json") > 0;
}

/// The error for words that a verb does not know.
UsageError unknown_words(const CLI::App &verb)
{
    const std::vector<std::string> words = verb.remaining();
    const std::string word = words.empty() ? "" : words[0];
    if (word.rfind('-', 0) != 0)
        return UsageError{"unexpected argument '" + word + "' of '" + verb.get_name() + "'"};
    return UsageError{"unknown option '" + word + "' of '" + verb.get_name() + "'" +
                      suggestion(word, option_names(verb))};
}

class CommandLine {
public:
    explicit CommandLine(const Verbs &verbs) : verbs_(verbs)
    {
        app_.set_version_flag("--version", "korvanectl of Korvane " KORVANE_VERSION);
        app_.footer(footer);
        app_.require_subcommand(1);
        set_usage(app_, "VERB [ARGUMENT]...");
        for (const Verb *verb : verbs_) {
            add(*verb, verb->name);
            if (verb->alias)
                add(*verb, verb->alias)->group(""); // hidden
        }
    }

    int run(std::vector<std::string> words)
    {
        if (!words.empty() && words[0] == "--complete") { // from the scripts of 'korvanectl completion'
            for (const std::string &name : candidates(app_, verbs_, {words.begin() + 1, words.end()}))
                std::printf("%s\n", name.c_str());
            return done;
        }
        take_common(words, context_);
        replace_help(words);
        const std::string name = verb_in(words);
        if (!is_verb(app_, name))
            add_agent_commands(name.empty());
        if (!name.empty() && !is_verb(app_, name))
            throw unknown_verb(app_, name, agent_.has_value());
        return parse(std::move(words)) ? chosen_() : done;
    }

private:
    CLI::App *add(const Verb &verb, const char *name)
    {
        CLI::App *sub = app_.add_subcommand(name, verb.help);
        sub->add_flag("--json", context_.out.json, json_help);
        sub->footer(std::string{"Examples:\n"} + verb.examples);
        set_usage(*sub, verb.usage);
        sub->callback([this, &verb, run = verb.set_up(*sub, context_)] {
            if (!context_.program.empty() && !verb.takes_program)
                throw UsageError{std::string{"'"} + verb.name + "' does not take a program: remove '-- " +
                                 context_.program[0] + "'"};
            chosen_ = run;
        });
        return sub;
    }

    /// The general help also works if the agent's replies are wrong.
    void add_agent_commands(bool optional)
    {
        try {
            agent_ = Agent::if_running();
        } catch (const Failure &) {
            if (!optional)
                throw;
        }
        if (!agent_)
            return;
        for (const CommandVerb &verb : add_commands(app_, context_, *agent_)) {
            verb.app->add_flag("--json", context_.out.json, json_help);
            verb.app->callback([this, run = verb.run] { chosen_ = run; });
        }
    }

    /// Returns false if the words ask for help or the version, which is printed then.
    bool parse(std::vector<std::string> words)
    {
        std::reverse(words.begin(), words.end()); // the order in which the parser takes them
        try {
            app_.parse(words);
            return true;
        } catch (const CLI::ExtrasError &problem) {
            const std::vector<CLI::App *> parsed_verbs = app_.get_subcommands();
            if (parsed_verbs.empty())
                throw UsageError{problem.what()};
            throw unknown_words(*parsed_verbs[0]);
        } catch (const CLI::ParseError &problem) {
            if (problem.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success))
                throw UsageError{problem.what()};
            app_.exit(problem);
            return false;
        }
    }

    const Verbs &verbs_;
    Context context_{};
    CLI::App app_{"Control and watch the virtual agent, run scenarios, and call the functions of Korvane.",
                  "korvanectl"};
    std::optional<Agent> agent_{};
    std::function<int()> chosen_{};
};

} // namespace

int run_command_line(const Verbs &verbs, std::vector<std::string> words)
{
    return CommandLine{verbs}.run(std::move(words));
}

} // namespace kv::ctl
