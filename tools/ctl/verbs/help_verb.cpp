// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

namespace {

/// The command line replaces "help VERB" by "VERB --help" before it is parsed; only more words than that arrive here.
std::function<int()> set_up_help(CLI::App &app, Context &)
{
    app.prefix_command();
    return []() -> int { throw UsageError{"'help' takes one VERB"}; };
}

} // namespace

const Verb help_verb{
    .name = "help",
    .help = "Describe korvanectl or one of its verbs",
    .usage = "[VERB]",
    .examples = "  korvanectl help\n"
                "  korvanectl help run",
    .set_up = set_up_help,
};

} // namespace kv::ctl
