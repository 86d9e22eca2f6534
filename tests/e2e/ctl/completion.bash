# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file

# Completion in the three shells.
part_completion() {
    check_bash
    check_zsh
    check_fish
}

# Replaces korvanectl by a program whose candidates run a command if a shell expands or evaluates them.
write_hostile_ctl() {
    cat >korvanectl <<'END'
#!/bin/sh
cat <<'NAMES'
emit
em$(touch expanded)
em`touch expanded`
em;touch expanded
em*
em ${IFS}
NAMES
END
    chmod +x korvanectl
}

check_bash() {
    expect_status 0 "$ctl" completion bash
    cp out completion.bash
    bash -n completion.bash || fail 'the bash completion is not a script'
    expect_status 0 bash -c "korvanectl() { '$ctl' \"\$@\"; }; source ./completion.bash
        COMP_WORDS=(korvanectl call get_dev) COMP_CWORD=2; _korvanectl korvanectl get_dev call; echo \"\${COMPREPLY[@]}\""
    expect_in out 'get_device_id get_device_owned_status'

    write_hostile_ctl
    touch em-a-file
    expect_status 0 env PATH="$work:$PATH" bash -c 'source ./completion.bash
        COMP_WORDS=(korvanectl em) COMP_CWORD=1; _korvanectl korvanectl em korvanectl; printf "%s\n" "${COMPREPLY[@]}"'
    [[ ! -e expanded ]] || fail 'bash ran a command in a candidate'
    # The candidates are quoted, so that they are not commands after Enter either.
    printf '%s\n' emit 'em\$\(touch\ expanded\)' 'em\`touch\ expanded\`' 'em\;touch\ expanded' 'em\*' \
        'em\ \$\{IFS\}' | diff - out || fail 'bash completes other names'
    expect_status 0 env PATH="$work:$PATH" bash -c 'source ./completion.bash
        COMP_WORDS=(korvanectl "*") COMP_CWORD=1; _korvanectl korvanectl "*" korvanectl; echo "${#COMPREPLY[@]}"'
    expect_in out 0
}

check_fish() {
    expect_status 0 "$ctl" completion fish
    expect_in out 'complete --command korvanectl'
    cp out korvanectl.fish
    command -v fish >/dev/null || return # the script can be read only
    ln -sf "$ctl" korvanectl
    expect_status 0 env PATH="$work:$PATH" HOME="$work" fish --no-config -c 'source ./korvanectl.fish
        complete --do-complete "korvanectl call get_dev"; complete --do-complete "korvanectl call get_device_id "'
    expect_in out get_device_id
    expect_in out get_device_owned_status
    rm korvanectl
    write_hostile_ctl
    touch em-a-file
    expect_status 0 env PATH="$work:$PATH" HOME="$work" fish --no-config -c 'source ./korvanectl.fish
        complete --do-complete "korvanectl em"'
    [[ ! -e expanded ]] || fail 'fish ran a command in a candidate'
    expect_in out 'em$(touch expanded)'
    expect_in out 'em;touch expanded'
    expect_not_in out em-a-file
}

check_zsh() {
    expect_status 0 "$ctl" completion zsh
    expect_in out '#compdef korvanectl'
    cp out _korvanectl
    command -v zsh >/dev/null || return # the script can be read only
    zsh -n _korvanectl || fail 'the zsh completion is not a script'
    write_hostile_ctl
    # compadd and compdef exist only while zsh completes; these print what they would get.
    expect_status 0 env PATH="$work:$PATH" zsh -fc 'compadd() { shift; printf "%s\n" "$@" }; compdef() { : }
        words=(korvanectl em) CURRENT=2; source ./_korvanectl; _korvanectl'
    [[ ! -e expanded ]] || fail 'zsh ran a command in a candidate'
    expect_in out 'em$(touch expanded)'
    expect_in out 'em;touch expanded'
}
