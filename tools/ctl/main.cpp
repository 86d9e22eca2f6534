// SPDX-License-Identifier: Apache-2.0
#include "failure.hpp"
#include "suggest.hpp"
#include "verb.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <cstdio>

using namespace kv::ctl;

namespace {

const Verb *const verbs[] = {&call_verb, &functions_verb, &trace_verb, &doctor_verb};

constexpr const char *epilogue = "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no agent.\n"
                                 "'korvanectl VERB --help' shows a verb with examples.";

std::vector<std::string> names()
{
    std::vector<std::string> all;
    for (const Verb *verb : verbs)
        all.emplace_back(verb->name);
    return all;
}

/// The first word that is no option.
std::string verb_in(const std::vector<std::string> &words)
{
    const auto found =
        std::find_if(words.begin(), words.end(), [](const auto &word) { return word.rfind('-', 0) != 0; });
    return found == words.end() ? "" : *found;
}

int run(std::vector<std::string> words)
{
    Context context;
    CLI::App app{"The command line of Korvane: steers the virtual agent, watches it, and calls the library.",
                 "korvanectl"};
    app.set_version_flag("--version", "korvanectl of Korvane " KORVANE_VERSION);
    app.footer(epilogue);
    app.require_subcommand(1);

    if (const auto mark = std::find(words.begin(), words.end(), "--"); mark != words.end()) {
        context.program.assign(mark + 1, words.end());
        words.erase(mark, words.end());
    }
    std::function<int()> chosen;
    for (const Verb *verb : verbs) {
        CLI::App *sub = app.add_subcommand(verb->name, verb->help);
        sub->add_flag("--json", context.out.json, "prints results as lines of JSON");
        sub->footer(std::string{"Examples:\n"} + verb->examples);
        sub->callback([&chosen, &context, verb, what = verb->set_up(*sub, context)] {
            if (!context.program.empty() && !verb->runs_program)
                throw UsageError{std::string{"'"} + verb->name + "' runs no program: what is '" + context.program[0] +
                                 "'?"};
            chosen = what;
        });
    }
    const std::vector<std::string> known = names();
    if (const std::string name = verb_in(words); !name.empty() && std::count(known.begin(), known.end(), name) == 0)
        throw UsageError{"there is no verb '" + name + "'" + suggestion(name, known)};

    std::reverse(words.begin(), words.end()); // as the parser takes them
    try {
        app.parse(words);
    } catch (const CLI::ParseError &problem) {
        if (problem.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(problem); // help or version
            return done;
        }
        throw UsageError{problem.what()};
    }
    return chosen();
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
