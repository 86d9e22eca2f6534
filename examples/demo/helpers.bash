# SPDX-License-Identifier: Apache-2.0
# The functions that every section of the demo uses; sourced by run-demo.
# shellcheck shell=bash

# ---- agents and devices ----------------------------------------------------------------------------------------------

# section TITLE: begins a section in a new directory: no agent is installed, nothing runs.
section() {
    sections=$((sections + 1))
    printf '\n%s%d. %s%s\n' "$bold" "$sections" "$1" "$plain"
    dir=$work/$sections
    shown_from=
    mkdir -p "$dir"
    export KORVANE_PACKAGE_DIR=$dir/packages KORVANE_RUNTIME_DIR=$dir/run
    touch "$dir/agent" "$dir/device" "$dir/answers" "$dir/library"
}

start_agent() {
    "$agent_program" --verbose --command-fifo "$dir/commands" "$@" >"$dir/answers" 2>"$dir/agent" &
    agent=$!
    disown # a section may kill the agent; the shell would report that
    await "$dir/answers" '"agent":"ready"'
}

# command_agent COMMAND [ARGUMENT...]: runs a command of the agent and waits until it has succeeded.
command_agent() {
    local answered
    answered=$(wc -l <"$dir/answers")
    printf '%s\n' "$*" >"$dir/commands"
    await_count "$dir/answers" '"ok":true' "$answered"
}

# start_device PROGRAM [ARGUMENT...]
start_device() {
    local program=$1
    shift
    KORVANE_LOG=info:file:$dir/library "$examples/$program/$program" "$@" >"$dir/device" &
    device=$!
}

# Waits until the device ends; stores its exit status in `status`.
end_device() {
    status=0
    wait "$device" || status=$?
    device=
}

# await FILE TEXT: waits until a line of the file contains the text; fails after the timeout.
await() { await_count "$1" "$2" 1; }

await_count() {
    local tries
    for ((tries = 0; tries < max_tries; tries++)); do
        [[ $(grep -cF -- "$2" "$1") -ge $3 ]] && return
        sleep 0.02
    done
    fail "the output of the ${1##*/} does not contain '$2' $3 times"
}

await_scenario_end() {
    local tries
    for ((tries = 0; tries < max_tries; tries++)); do
        grep -qF '"scenario":' "$dir/answers" && return
        sleep 0.02
    done
    fail 'the scenario did not end'
}

# ---- checks ----------------------------------------------------------------------------------------------------------

fail() {
    printf '   %sFAILED: %s%s\n' "$red" "$1" "$plain"
    failures=$((failures + 1))
}

device_printed() {
    local line
    for line in "$@"; do
        grep -qF -- "  $line" "$dir/device" || fail "the device did not print '$line'"
    done
}

agent_logged() {
    local line
    for line in "$@"; do
        grep -qF -- "$line" "$dir/agent" || fail "the agent did not log '$line'"
    done
}

agent_did_not_log() {
    ! grep -qF -- "$1" "$dir/agent" || fail "the agent logged '$1'"
}

scenario_passed() {
    grep -qxF '{"scenario":"passed"}' "$dir/answers" || fail "the scenario failed: $(grep -F '"scenario":' "$dir/answers")"
}

exited_with() {
    [[ $status -eq $1 ]] || fail "the device's exit status is $status, not $1"
}

# ---- output ----------------------------------------------------------------------------------------------------------

# Merges the lines of both sides, which begin with the time in microseconds.
show_timeline() {
    {
        sed -E "s/^([0-9:.]{15})  /\1 device /" "$dir/device"
        sed -nE "s/^([0-9:.]{15})  /\1 agent  /p" "$dir/agent"
    } | sort -s -k1,1 | sed -n "${shown_from:+\|$shown_from|,\$}p" | while read -r time side what; do
        local colour=$blue
        [[ $side == agent ]] && colour=$magenta
        # Long arguments are cut.
        printf '   %s%s%s  %s%-6s%s  %s\n' "$dim" "$time" "$plain" "$colour" "$side" "$plain" "${what:0:150}"
    done
}

# show_from TEXT: starts the timeline at the first line that contains the text.
show_from() {
    shown_from=$1
}

# end_section SUMMARY: prints the timeline, then the results that the application received.
end_section() {
    end_children
    show_timeline
    printf '   %s=> the application received: %s; exit status %d%s\n' "$green" "$1" "$status" "$plain"
}

# last_result_of STEP: prints the result that the device printed last for the step.
last_result_of() {
    sed -nE "s/^[0-9:.]{15}  $1: //p" "$dir/device" | tail -n 1
}
