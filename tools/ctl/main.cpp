// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/cli/agent_commands.hpp"
#include "tools/ctl/cli/completion.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <cstdio>

using namespace kv::ctl;

namespace {

const Verb *const verbs[] = {
    &agent_verb, &do_verb,   &log_verb,       &run_verb,    &record_verb,     &top_verb,
    &trace_verb, &call_verb, &functions_verb, &doctor_verb, &completion_verb,
};

constexpr const char *json_help = "prints results as lines of JSON";
constexpr const char *epilogue = "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no agent.\n"
                                 "'korvanectl VERB --help' shows a verb with examples.";

/// The first word that is no option.
std::string verb_in(const std::vector<std::string> &words)
{
    const auto found =
        std::find_if(words.begin(), words.end(), [](const auto &word) { return word.rfind('-', 0) != 0; });
    return found == words.end() ? "" : *found;
}

std::vector<std::string> names_in(const CLI::App &app)
{
    std::vector<std::string> names;
    for (const CLI::App *verb : app.get_subcommands({}))
        names.push_back(verb->get_name());
    return names;
}

bool has(const CLI::App &app, const std::string &verb)
{
    const std::vector<std::string> names = names_in(app);
    return std::count(names.begin(), names.end(), verb) > 0;
}

Failure unknown(const CLI::App &app, const std::string &verb, bool agent_runs)
{
    const std::string near = suggestion(verb, names_in(app));
    if (agent_runs || !near.empty())
        return UsageError{"there is no verb '" + verb + "'" + near};
    // It may be one that an agent would know.
    return Failure{no_agent, "'" + verb +
                                 "' is no verb, unless it is a command of the agent, and none runs here; "
                                 "'korvanectl agent start' starts one"};
}

/// Takes out what belongs to no verb: the program behind "--", and --json, which may stand anywhere.
void take_common(std::vector<std::string> &words, Context &context)
{
    if (const auto mark = std::find(words.begin(), words.end(), "--"); mark != words.end()) {
        context.program.assign(mark + 1, words.end());
        words.erase(mark, words.end());
    }
    context.out.json = std::erase(words, "--json") > 0;
}

void add_verbs(CLI::App &app, Context &context, std::function<int()> &chosen)
{
    for (const Verb *verb : verbs) {
        CLI::App *sub = app.add_subcommand(verb->name, verb->help);
        sub->add_flag("--json", context.out.json, json_help);
        sub->footer(std::string{"Examples:\n"} + verb->examples);
        sub->callback([&chosen, &context, verb, what = verb->set_up(*sub, context)] {
            if (!context.program.empty() && !verb->runs_program)
                throw UsageError{std::string{"'"} + verb->name + "' runs no program: what is '" + context.program[0] +
                                 "'?"};
            chosen = what;
        });
    }
}

/// Gives back false when the words ask for help or the version, which has been shown then.
bool parse(CLI::App &app, std::vector<std::string> words)
{
    std::reverse(words.begin(), words.end()); // as the parser takes them
    try {
        app.parse(words);
        return true;
    } catch (const CLI::ParseError &problem) {
        if (problem.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success))
            throw UsageError{problem.what()};
        app.exit(problem);
        return false;
    }
}

int run(std::vector<std::string> words)
{
    Context context;
    CLI::App app{"The command line of Korvane: steers the virtual agent, watches it, and calls the library.",
                 "korvanectl"};
    app.set_version_flag("--version", "korvanectl of Korvane " KORVANE_VERSION);
    app.footer(epilogue);
    app.require_subcommand(1);
    std::function<int()> chosen;
    add_verbs(app, context, chosen);
    if (!words.empty() && words[0] == "--complete") { // as the shells' scripts ask
        for (const std::string &name : candidates(app, {words.begin() + 1, words.end()}))
            std::printf("%s\n", name.c_str());
        return done;
    }
    take_common(words, context);

    // What the agent can do is asked for only where it matters: for another verb than those above, and in the help.
    const std::string name = verb_in(words);
    std::optional<Agent> agent;
    if (!has(app, name))
        agent = Agent::if_running();
    if (agent)
        for (const SteeringVerb &verb : add_commands(app, context, *agent)) {
            verb.app->add_flag("--json", context.out.json, json_help);
            verb.app->callback([&chosen, run_it = verb.run] { chosen = run_it; });
        }
    if (!name.empty() && !has(app, name))
        throw unknown(app, name, agent.has_value());
    return parse(app, words) ? chosen() : done;
}

} // namespace

int main(int argc, char **argv)
{
    std::setlocale(LC_ALL, "");
    try {
        return run({argv + 1, argv + argc});
    } catch (const Failure &problem) {
        std::fprintf(stderr, "korvanectl: %s\n", problem.what());
        if (problem.status == wrong_usage)
            std::fputs("Try korvanectl --help\n", stderr);
        return problem.status;
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "korvanectl: %s\n", problem.what());
        return failed;
    }
}
