// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/cli/choice.hpp"
#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace kv::ctl {

namespace {

// Both scripts take their candidates from this program, which also lists the commands of the running agent. Candidates are data
// of another process: the scripts compare and insert them, quoted, and never expand or evaluate them.

constexpr const char *bash_script = R"sh(# bash completion for korvanectl
_korvanectl()
{
    local name names
    COMPREPLY=()
    mapfile -t names < <(korvanectl --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    for name in "${names[@]}"; do
        if [[ ${name:0:${#2}} == "$2" ]]; then
            printf -v name '%q' "$name"
            COMPREPLY+=("$name")
        fi
    done
}
complete -o default -F _korvanectl korvanectl
)sh";

constexpr const char *zsh_script = R"sh(#compdef korvanectl
_korvanectl()
{
    local -a names
    names=("${(@f)$(korvanectl --complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ -n $names ]]; then
        compadd -- "${(@)names}"
    else
        _files
    fi
}
if [[ $funcstack[1] == _korvanectl ]]; then
    _korvanectl "$@"
else
    compdef _korvanectl korvanectl
fi
)sh";

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
