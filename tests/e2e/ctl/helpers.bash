# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2154 # ctl_test sets the variables
# What every part of ctl_test uses.

fail() {
    printf 'FAILED: %s\n' "$*"
    failures=$((failures + 1))
}

# expect_status STATUS WORD...: runs the words and keeps their output in the files out and err.
expect_status() {
    local wanted=$1 status=0
    shift
    ran="$*"
    timeout 60 "$@" >out 2>err || status=$?
    if [[ $status -ne $wanted ]]; then
        fail "exit status $status, not $wanted: $ran"
        cat out err
    fi
}

# expect_in FILE TEXT: the output of the last command contains the text.
expect_in() {
    grep -qF -- "$2" "$1" || { fail "'$2' is missing in the $1 of: $ran" && cat "$1"; }
}
expect_not_in() {
    ! grep -qF -- "$2" "$1" || fail "'$2' is in the $1 of: $ran"
}

# wait_until WORD...: runs the words until they succeed, for at most 10 seconds.
wait_until() {
    local tries
    for ((tries = 0; tries < 3000; tries++)); do
        "$@" >/dev/null 2>&1 && return
        sleep 0.02
    done
    fail "did not become true: $*"
}

# No process and no file of a run is left. A run's processes have its own directories in their environment.
expect_nothing_left() {
    wait_until none_runs_below "$work/tmp"
    [[ -z $(ls -A "$TMPDIR") ]] || fail "left in TMPDIR by $ran: $(ls -A "$TMPDIR")"
}
none_runs_below() {
    ! grep -qzF -- "$1/" /proc/[0-9]*/environ 2>/dev/null
}
