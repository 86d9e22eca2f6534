// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <csignal>

namespace kv::ctl {

namespace {

constexpr int longest_wait_ms = 600'000;

struct LogOptions {
    bool follow = false;
    std::string filter{};
    int last = 0;
};

void tell(const Output &out, const Json &entry)
{
    using enum Output::Colour;
    const bool bad = entry.contains("problem") || entry.contains("fault") || entry.value("ok", true) == false;
    const Output::Colour colour = bad ? red : entry.contains("event") ? blue : entry.contains("method") ? plain : dim;
    out.line(out.in(colour, entry_in_words(entry)), entry);
}

/// Asks for the next match again and again: what matches is the agent's to say. Ends when the agent does.
int follow_matches(const Output &out, const Agent &agent, const Json &filter, long long next)
{
    for (;;) {
        try {
            agent.run("wait", {{"filter", filter}, {"within_ms", longest_wait_ms}, {"since", next}});
        } catch (const Failure &problem) {
            if (problem.status == no_agent)
                throw Failure{failed, "the agent went away"};
            continue; // nothing came for so long
        }
        const Json list = agent.run("journal", {{"since", next}, {"limit", Agent::entries_kept}, {"filter", filter}});
        for (const Json &entry : list["entries"])
            tell(out, entry);
        next = list["next"];
    }
}

int follow_all(const Output &out, const Agent &agent, long long next)
{
    Loop loop;
    std::string why;
    const Agent::Stream stream{agent, next, [&](const Json &entry) { tell(out, entry); },
                               [&](const std::string &reason) {
                                   why = reason;
                                   loop.quit();
                               }};
    loop.on_signal(SIGINT, [&] { loop.quit(); });
    loop.on_signal(SIGTERM, [&] { loop.quit(); });
    loop.run();
    if (!why.empty())
        throw Failure{failed, why};
    return done;
}

std::function<int()> set_up_log(CLI::App &app, Context &context)
{
    auto options = std::make_shared<LogOptions>();
    app.add_flag("-f,--follow", options->follow, "goes on with what happens from now on; Ctrl-C ends it");
    app.add_option("--filter", options->filter, "an object that entries must match")->type_name("JSON");
    app.add_option("-n,--last", options->last, "only so many of those that are there")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    return [&context, options] {
        const Json filter = options->filter.empty() ? Json::object() : Json::parse(options->filter, nullptr, false);
        if (!filter.is_object())
            throw UsageError{"--filter must be an object, such as '{\"method\":\"start\"}', not '" + options->filter +
                             "'"};
        const Agent agent;
        const Json list = agent.run("journal", {{"limit", Agent::entries_kept}, {"filter", filter}});
        const Json &entries = list["entries"];
        const auto wanted = static_cast<std::size_t>(options->last);
        const std::size_t first = wanted > 0 && entries.size() > wanted ? entries.size() - wanted : 0;
        for (std::size_t i = first; i < entries.size(); ++i)
            tell(context.out, entries[i]);
        if (!options->follow)
            return static_cast<int>(done);
        const long long next = list["next"];
        return filter.empty() ? follow_all(context.out, agent, next) : follow_matches(context.out, agent, filter, next);
    };
}

} // namespace

const Verb log_verb{"log", "shows what the running agent has noted: requests, events, connections, steps",
                    "  korvanectl log --follow\n"
                    "  korvanectl log --filter '{\"method\":\"start\"}'\n"
                    "  korvanectl log -n 20 --json | jq .",
                    set_up_log};

} // namespace kv::ctl
