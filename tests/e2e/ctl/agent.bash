# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# An agent and its commands.
part_agent() {
    check_start
    check_commands
    check_journal
    check_end
}

check_start() {
    expect_status 2 "$ctl" agent start -- --no-such-option
    expect_in err 'the agent did not start'
    expect_status 2 "$ctl" agent start --agent-version 3.0
    expect_in err "agent version '3.0'"
    expect_status 0 env KORVANE_RUNTIME_DIR="$work/a/b/run" KORVANE_PACKAGE_DIR="$work/a/c/packages" "$ctl" agent start
    [[ $(stat -c %a "$work/a/b/run") == 700 ]] || fail 'others can read the runtime directory'
    expect_status 0 env KORVANE_RUNTIME_DIR="$work/a/b/run" KORVANE_PACKAGE_DIR="$work/a/c/packages" "$ctl" agent stop
    expect_status 1 env KORVANE_RUNTIME_DIR="/proc/none/run" "$ctl" agent start
    expect_in err 'cannot create the runtime directory /proc/none/run'
    expect_status 0 "$ctl" agent start --agent-version 1.4
    expect_in out 'agent 1.4 runs'
    expect_status 1 "$ctl" agent start
    expect_in err 'already runs'
    expect_status 0 "$ctl" agent status --json
    expect_in out '"version":"1.4"'
    expect_status 0 dbus-run-session -- "$ctl" doctor
    expect_in out 'ok    port: an agent listens'
}

check_commands() {
    expect_status 0 "$ctl" 'do'
    expect_in out 'emit EVENT [VALUES]'
    # What the agent lists can be reached, without a list of it here: a wrong argument comes back from the command.
    local name
    for name in $("$ctl" 'do' --json | sed -nE 's/^\{"name":"([^"]*)".*/\1/p'); do
        expect_status 0 "$ctl" 'do' "$name" --help
    done
    reaches_all 94 25
    expect_status 0 "$ctl" state version
    expect_in out '1.4'
    expect_status 0 "$ctl" emit status_changed_cb '[2]'
    expect_status 1 "$ctl" emit nothing_cb
    expect_in err "there is no event 'nothing_cb'"
    expect_status 2 "$ctl" emit
    expect_in err 'EVENT is missing: emit EVENT [VALUES]'
    expect_status 2 "$ctl" emit status_changed_cb '[2'
    expect_in err 'VALUES must be JSON'
    expect_status 2 "$ctl" emti
    expect_in err "did you mean 'emit'?"
    expect_status 2 "$ctl" 'do' emti
    expect_status 2 "$ctl" fault start result often
    expect_in err 'VALUE must be a whole number'
    expect_status 0 "$ctl" --complete em
    expect_in out emit
    expect_status 0 "$ctl" help emit
    expect_in out 'Usage: korvanectl emit [OPTIONS] EVENT [VALUES]'
    expect_status 0 "$ctl" 'do' help
}

check_journal() {

    expect_status 0 "$ctl" fault start result -7
    expect_status 1 "$ctl" call start : stop
    expect_in out '1  korvane_start: KORVANE_ERROR_OPERATION_FAILED'
    expect_not_in out korvane_stop
    expect_status 0 "$ctl" journal --filter '{"method":"start"}' --json
    expect_in out '"fault":"result"'
    [[ $(wc -l <out) -eq 1 ]] || fail 'the filter lets other entries through'
    expect_status 2 "$ctl" journal --filter 'method'
    expect_status 0 "$ctl" journal -n 1
    [[ $(wc -l <out) -eq 1 ]] || fail 'more than the last entry was shown'
    expect_status 0 "$ctl" top --once
    expect_in out METHOD
    expect_status 0 "$ctl" top --once --json
    grep -q '"method":"start","calls":1,.*"errors":1}' out || fail 'top counts otherwise'

    # Following: all of it, and what matches.
    followers=()
    local filter
    for filter in '{}' '{"method":"stop"}'; do
        "$ctl" journal --follow --filter "$filter" >"followed${#followers[@]}" 2>&1 &
        followers+=($!)
    done
    wait_until grep -q fault followed0 followed1
    expect_status 0 "$ctl" call stop
    wait_until grep -q 'stop()' followed0
    wait_until grep -q 'stop()' followed1
    ! grep -q is_update followed1 || fail 'a filtered log shows more'
    kill -INT "${followers[0]}"
    wait "${followers[0]}" || fail 'following does not end well'

}

check_end() {
    expect_status 0 "$ctl" agent stop
    wait "${followers[1]}"
    [[ $? -eq 1 ]] || fail 'following does not notice that the agent has gone'
    expect_status 3 "$ctl" agent stop
    expect_status 0 "$ctl" agent start
    kill -KILL "$("$ctl" agent status --json | sed -E 's/.*"pid":([0-9]+).*/\1/')"
    wait_until no_agent_runs
    expect_in out 'no agent runs in'
    expect_status 0 "$ctl" agent start
    reaches_all 104 32
    expect_status 0 "$ctl" agent stop
}
# reaches_all METHODS EVENTS: so many there are, counted by hand, and each can be named.
reaches_all() {
    local name
    "$ctl" 'do' describe --json >described
    [[ $(described_in methods events | wc -l) -eq $1 ]] || fail "there are other methods than $1"
    [[ $(described_in events faults | wc -l) -eq $2 ]] || fail "there are other events than $2"
    for name in $(described_in methods events); do
        expect_status 0 "$ctl" fault "$name" result -5 0
    done
    for name in $(described_in events faults); do
        expect_status 0 "$ctl" emit "$name"
    done
}
# described_in PART NEXT: the names in a part of the description, which another follows.
described_in() {
    sed -E "s/.*\"$1\":\[(.*)\],\"$2\":.*/\1/" described | grep -oE '\{"name":"[^"]*","id"' | cut -d'"' -f4
}
no_agent_runs() {
    "$ctl" agent status >out
    [[ $? -eq 3 ]]
}
