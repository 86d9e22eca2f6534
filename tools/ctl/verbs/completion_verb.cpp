// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/completion/completion_scripts.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>

namespace kv::ctl {

namespace {

const std::map<std::string, const char *> scripts{{"bash", bash_script}, {"fish", fish_script}, {"zsh", zsh_script}};

std::vector<std::string> shells()
{
    std::vector<std::string> names;
    for (const auto &[name, script] : scripts)
        names.push_back(name);
    return names;
}

std::function<int()> set_up_completion(CLI::App &app, Context &)
{
    auto shell = std::make_shared<std::string>();
    app.add_option("SHELL", *shell, "bash, fish or zsh")->required()->check(one_of(shells()));
    return [shell] {
        std::fputs(scripts.at(*shell), stdout);
        return static_cast<int>(done);
    };
}

std::vector<std::string> complete_completion(const std::vector<std::string> &words)
{
    return words.size() == 1 ? shells() : std::vector<std::string>{};
}

} // namespace

const Verb completion_verb{
    .name = "completion",
    .help = "Print a script that completes command lines of korvanectl",
    .usage = "SHELL",
    .examples = "  source <(korvanectl completion bash)\n"
                "  korvanectl completion zsh > ~/.zfunc/_korvanectl\n"
                "  korvanectl completion fish > ~/.config/fish/completions/korvanectl.fish",
    .set_up = set_up_completion,
    .complete = complete_completion,
};

} // namespace kv::ctl
