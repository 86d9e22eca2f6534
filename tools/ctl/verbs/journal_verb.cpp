// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/agent/entry_text.hpp"
#include "tools/ctl/agent/journal_stream.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/loop.hpp"

#include <CLI/CLI.hpp>

#include <chrono>
#include <csignal>

namespace kv::ctl {

namespace {

constexpr int max_wait_ms = 600'000; // of the agent's command 'wait'

struct JournalOptions {
    bool follow = false;
    std::string filter{};
    int last = 0; // 0: all
};

Output::Colour colour_of(const Json &entry)
{
    using enum Output::Colour;
    if (entry.contains("problem") || entry.contains("fault") || !flag_in(entry, "ok", true))
        return red;
    if (entry.contains("event"))
        return blue;
    return entry.contains("method") ? plain : dim;
}

void print_entry(const Output &out, const Json &entry)
{
    out.line(out.in(colour_of(entry), entry_text(entry)), entry);
}

/// Waits until an entry matches, or for as long as the agent's command can wait. Throws Failure if the agent refuses.
void await_match(const Agent &agent, const Json &filter, long long since)
{
    const auto begin = std::chrono::steady_clock::now();
    try {
        agent.run("wait", {{"filter", filter}, {"within_ms", max_wait_ms}, {"since", since}});
    } catch (const Failure &problem) {
        if (problem.status == no_agent)
            throw Failure{failed, std::string{"the agent ended: "} + problem.what()};
        if (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds{max_wait_ms})
            throw; // it did not wait, so asking again would not either
    }
}

/// Lets the agent decide which entries match. Ends with the agent.
[[noreturn]] void follow_matches(const Output &out, const Agent &agent, const Json &filter, long long next)
{
    for (;;) {
        await_match(agent, filter, next);
        const JournalPage page = agent.journal(next, filter);
        for (const Json &entry : page.entries)
            print_entry(out, entry);
        next = page.next;
    }
}

int follow_all(const Output &out, const Agent &agent, long long next)
{
    Loop loop;
    const JournalStream stream{agent, next, [&](const Json &entry) { print_entry(out, entry); },
                               [](const std::string &reason) {
                                   throw Failure{failed, reason};
                               }};
    loop.on_signal(SIGINT, [&] { loop.quit(); });
    loop.on_signal(SIGTERM, [&] { loop.quit(); });
    loop.run();
    return done;
}

Json filter_from(const std::string &text)
{
    if (text.empty())
        return Json::object();
    Json filter = parsed(text);
    if (!filter.is_object())
        throw UsageError{"--filter must be a JSON object such as '{\"method\":\"start\"}', not '" + text + "'"};
    return filter;
}

int print_journal(const Output &out, const JournalOptions &options)
{
    const Json filter = filter_from(options.filter);
    const Agent agent;
    const JournalPage page = agent.journal(std::nullopt, filter);
    const auto wanted = static_cast<std::size_t>(options.last);
    const std::size_t first = wanted > 0 && page.entries.size() > wanted ? page.entries.size() - wanted : 0;
    for (std::size_t i = first; i < page.entries.size(); ++i)
        print_entry(out, page.entries[i]);
    if (!options.follow)
        return done;
    if (filter.empty())
        return follow_all(out, agent, page.next);
    follow_matches(out, agent, filter, page.next);
}

std::function<int()> set_up_journal(CLI::App &app, Context &context)
{
    auto options = std::make_shared<JournalOptions>();
    app.add_flag("-f,--follow", options->follow, "Continue with new entries until Ctrl-C");
    app.add_option("--filter", options->filter, "Print only entries that match this object")->type_name("JSON");
    app.add_option("-n,--last", options->last, "Print only the last N of the existing entries")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
    return [&context, options] { return print_journal(context.out, *options); };
}

} // namespace

const Verb journal_verb{
    .name = "journal",
    .help = "Print the running agent's journal: requests, events, connections, steps",
    .usage = "",
    .examples = "  korvanectl journal --follow\n"
                "  korvanectl journal --filter '{\"method\":\"start\"}'\n"
                "  korvanectl journal -n 20 --json | jq .",
    .set_up = set_up_journal,
    .alias = "log",
};

} // namespace kv::ctl
