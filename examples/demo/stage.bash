# SPDX-License-Identifier: Apache-2.0
# What every act of the demo needs; sourced by run-demo.
# shellcheck shell=bash

# ---- the play --------------------------------------------------------------------------------------------------------

# Empties the stage: no agent is installed, nothing is running.
act() {
    acts=$((acts + 1))
    printf '\n%s%d. %s%s\n' "$bold" "$acts" "$1" "$plain"
    stage=$work/$acts
    shown_from=
    mkdir -p "$stage"
    export KORVANE_PACKAGE_DIR=$stage/packages KORVANE_RUNTIME_DIR=$stage/run
    touch "$stage/agent" "$stage/device" "$stage/answers" "$stage/library"
}

start_agent() {
    "$agent_program" --verbose --command-fifo "$stage/commands" "$@" >"$stage/answers" 2>"$stage/agent" &
    agent=$!
    disown # it may be killed, which is none of the shell's business
    await "$stage/answers" '"agent":"ready"'
}

steer() {
    local answered
    answered=$(wc -l <"$stage/answers")
    printf '%s\n' "$*" >"$stage/commands"
    await_count "$stage/answers" '"ok":true' "$answered"
}

# start_device PROGRAM [ARGUMENT...]
start_device() {
    local program=$1
    shift
    KORVANE_LOG=info:file:$stage/library "$examples/$program/$program" "$@" >"$stage/device" &
    device=$!
}

# Waits for its end and keeps its exit status.
end_device() {
    status=0
    wait "$device" || status=$?
    device=
}

# Waits until a file holds a line with the text, or says that it does not come.
await() { await_count "$1" "$2" 1; }

await_count() {
    local tries
    for ((tries = 0; tries < patience; tries++)); do
        [[ $(grep -cF -- "$2" "$1") -ge $3 ]] && return
        sleep 0.02
    done
    fail "'$2' does not come ${3}x in ${1##*/}'s lines"
}

await_end_of_play() {
    local tries
    for ((tries = 0; tries < patience; tries++)); do
        grep -qF '"scenario":' "$stage/answers" && return
        sleep 0.02
    done
    fail 'the scenario does not end'
}

# ---- what must have happened -----------------------------------------------------------------------------------------

fail() {
    printf '   %sWRONG: %s%s\n' "$red" "$1" "$plain"
    failures=$((failures + 1))
}

device_says() {
    local line
    for line in "$@"; do
        grep -qF -- "  $line" "$stage/device" || fail "the device did not say '$line'"
    done
}

agent_notes() {
    local line
    for line in "$@"; do
        grep -qF -- "$line" "$stage/agent" || fail "the agent did not note '$line'"
    done
}

agent_does_not_note() {
    ! grep -qF -- "$1" "$stage/agent" || fail "the agent noted '$1'"
}

scenario_passed() {
    grep -qxF '{"scenario":"passed"}' "$stage/answers" || fail "the scenario failed: $(grep -F '"scenario":' "$stage/answers")"
}

exits_with() {
    [[ $status -eq $1 ]] || fail "the device's exit status is $status, not $1"
}

# ---- what is shown ---------------------------------------------------------------------------------------------------

# Both sides' lines begin with the time, to the microsecond.
show_timeline() {
    {
        sed -E "s/^([0-9:.]{15})  /\1 device /" "$stage/device"
        sed -nE "s/^([0-9:.]{15})  /\1 agent  /p" "$stage/agent"
    } | sort -s -k1,1 | sed -n "${shown_from:+\|$shown_from|,\$}p" | while read -r time side what; do
        local colour=$blue
        [[ $side == agent ]] && colour=$magenta
        # A long argument would hide what happens.
        printf '   %s%s%s  %s%-6s%s  %s\n' "$dim" "$time" "$plain" "$colour" "$side" "$plain" "${what:0:150}"
    done
}

# Leaves out of the timeline what comes before the first line with the text.
show_from() {
    shown_from=$1
}

# Ends the act: the timeline, then what the application saw of it.
curtain() {
    end_children
    show_timeline
    printf '   %s=> the application saw: %s; exit status %d%s\n' "$green" "$1" "$status" "$plain"
}

last_result_of() {
    sed -nE "s/^[0-9:.]{15}  $1: //p" "$stage/device" | tail -n 1
}
