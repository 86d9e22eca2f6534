// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/completion/completion_scripts.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace kv::ctl {

namespace {

const std::vector<std::string> shells{"bash", "zsh"};

std::function<int()> set_up_completion(CLI::App &app, Context &)
{
    auto shell = std::make_shared<std::string>();
    app.add_option("SHELL", *shell, "bash or zsh")->required()->check(one_of(shells));
    return [shell] {
        std::fputs(*shell == "bash" ? bash_script : zsh_script, stdout);
        return static_cast<int>(done);
    };
}

std::vector<std::string> complete_completion(const std::vector<std::string> &words)
{
    return words.size() == 1 ? shells : std::vector<std::string>{};
}

} // namespace

const Verb completion_verb{
    .name = "completion",
    .help = "Print a script that completes command lines of korvanectl",
    .usage = "SHELL",
    .examples = "  source <(korvanectl completion bash)\n"
                "  korvanectl completion zsh > ~/.zfunc/_korvanectl",
    .set_up = set_up_completion,
    .complete = complete_completion,
};

} // namespace kv::ctl
