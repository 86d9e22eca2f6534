# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# What needs no agent.
part_alone() {
    check_help
    check_functions
    check_info
    check_call_arguments
    check_verbs_without_agent
    check_lost_output
    check_written_application
    check_doctor
}

check_help() {
    expect_status 0 "$ctl" --help
    expect_in out "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no agent."
    local verb
    for verb in init agent 'do' journal run test report record top trace call functions info doctor completion help; do
        expect_status 0 "$ctl" "$verb" --help
        expect_in out "Usage: korvanectl $verb [OPTIONS]"
        expect_in out "Examples:"
        cp out by-option
        expect_status 0 "$ctl" help "$verb"
        cmp -s out by-option || fail "'help $verb' prints something else than '$verb --help'"
    done
    expect_status 0 "$ctl" help
    expect_in out "Exit status: 0 done"
    expect_in out '  journal '
    ! grep -q '^  log ' out || fail 'the former name of journal is listed'
    expect_status 0 "$ctl" log --help
    expect_in out '--follow'
    expect_status 0 "$ctl" run --help
    expect_in out 'Usage: korvanectl run [OPTIONS] SCENARIO -- APPLICATION [ARGUMENT]...'
    expect_status 0 "$ctl" call --help
    expect_in out 'Usage: korvanectl call [OPTIONS] FUNCTION'
    expect_status 2 "$ctl" help jurnal
    expect_in err "unknown verb 'jurnal'; did you mean 'journal'?"
    expect_status 2 "$ctl" help run twice
    expect_status 3 "$ctl" help xyzzyplugh
    expect_status 0 "$ctl" --version
    expect_status 2 "$ctl"
    expect_status 2 "$ctl" fonctions
    expect_in err "unknown verb 'fonctions'; did you mean 'functions'?"
    expect_status 2 "$ctl" functions --unknown
    expect_in err "unknown option '--unknown' of 'functions'"
    expect_status 2 "$ctl" journal --folow
    expect_in err "unknown option '--folow' of 'journal'; did you mean '--follow'?"
    expect_status 2 "$ctl" doctor everything
    expect_in err "unexpected argument 'everything' of 'doctor'"
    expect_status 2 "$ctl" agent strat
    expect_in err "unknown value 'strat'; did you mean 'start'?"
    expect_status 2 "$ctl" completion bsh
    expect_in err "did you mean 'bash'?"
    expect_status 2 "$ctl" functions -- ./program
    expect_in err "'functions' does not take a program"
}

# Output that cannot be written is a failure, also if it is all that was asked for.
check_lost_output() {
    local arguments
    for arguments in functions 'functions --json' '--help' 'help run' 'completion bash' '--version'; do
        # shellcheck disable=SC2086 # several words
        expect_status 1 bash -c "exec '$ctl' $arguments >/dev/full"
        expect_in err 'cannot write all of the output'
    done
    expect_status 2 bash -c "exec '$ctl' fonctions >/dev/full"
    mkdir -p a-directory
    expect_status 1 "$ctl" trace --read a-directory
    expect_in err 'cannot read a-directory: Is a directory'
    expect_status 2 "$ctl" report merge a-directory
    expect_in err 'cannot read the report a-directory'
}

# The user's umask decides who may read a new application. A full disk leaves nothing of it, so that it can be written again.
check_written_application() {
    expect_status 0 bash -c "umask 022; exec '$ctl' init readable"
    [[ $(stat -c %a readable/main.c) == 644 ]] || fail "the mode of main.c is $(stat -c %a readable/main.c)"
    expect_status 0 bash -c "umask 077; exec '$ctl' init private"
    [[ $(stat -c %a private/main.c) == 600 ]] || fail "the mode of main.c is $(stat -c %a private/main.c)"
    expect_status 1 bash -c "trap '' XFSZ; ulimit -f 1; exec '$ctl' init too-large"
    expect_in err 'File too large; nothing was written'
    [[ ! -e too-large ]] || fail 'a part of an application is left'
    expect_status 0 "$ctl" init too-large

    echo '{"steps": []}' >empty.json
    expect_status 1 env TMPDIR=/no/such/directory "$ctl" run empty.json -- true
    expect_in err 'cannot use the directory for temporary files, TMPDIR=/no/such/directory: '
    expect_in err 'set TMPDIR to'
    local long
    long=$PWD/$(printf 'x%.0s' {1..100})
    mkdir "$long"
    expect_status 1 env TMPDIR="$long" "$ctl" run empty.json -- true
    expect_in err 'is too long for a socket'
    expect_in err 'set TMPDIR to a path that is at least'
}

check_functions() {
    expect_status 0 "$ctl" functions
    cut -d' ' -f1 out | sort >listed
    grep -v '^#' "$exports" | sort | diff - listed || fail 'functions does not list the exported ones'
    expect_status 0 "$ctl" functions presence
    expect_in out 'korvane_get_sub_device_presence_list  -> sub_dev_prs list'
    expect_in out 'korvane_set_sub_device_presence int,... bool'
    expect_status 0 "$ctl" functions --json set_pin
    expect_in out '{"name":"korvane_set_pin_cb","lowest_version":"any","arguments":[],"callbacks":["callback(text, int)","callback()"],"outs":[],"group":"PINs, soft access point, switches","summary":'
    expect_status 1 "$ctl" functions nothing_like_it
}

# The package directory is empty.
check_info() {
    expect_status 0 "$ctl" info
    expect_in out 'library:   2.3.3'
    expect_in out 'agent:     not installed'
    expect_in out 'functions: 0 of 179 available'
    expect_status 0 "$ctl" info --json
    expect_in out '{"library":"2.3.3","agent":null,"installed":false,"format":null,"functions":179,"available":0}'
    expect_status 0 "$ctl" info set_random_pin
    expect_in out 'korvane_set_random_pin: needs agent 1.4 or later; not available (agent: not installed)'
    expect_status 0 "$ctl" info korvane_start
    expect_in out 'korvane_start: needs any agent;'
    local code
    for code in -5 0xFFFFFFFB IO_ERROR KORVANE_ERROR_IO_ERROR; do
        expect_status 0 "$ctl" info "$code"
        expect_in out 'KORVANE_ERROR_IO_ERROR (-5): the link to the agent failed during the call'
        expect_in out '  -> connect again and repeat the registrations'
    done
    expect_status 2 "$ctl" info korvane_strat
    expect_in err "'korvane_strat' is neither a function nor a result code"
}

check_verbs_without_agent() {
    expect_status 3 "$ctl" call start
    expect_in err 'no agent is installed'
    local words
    for words in journal log 'top --once' 'record file' 'do' 'emit x' 'agent stop' 'agent status'; do
        # shellcheck disable=SC2086
        expect_status 3 "$ctl" $words
    done
    [[ ! -e file ]] || fail 'record left a file without an agent'
    expect_status 2 "$ctl" agent restart
}

check_call_arguments() {
    expect_status 2 "$ctl" call
    expect_status 2 "$ctl" call strat
    expect_in err "did you mean 'start'?"
    expect_status 2 "$ctl" call start :
    expect_status 2 "$ctl" call send_presence
    expect_in err 'it takes 1 arguments, not 0: korvane_send_presence int'
    expect_status 2 "$ctl" call send_presence 99999999999
    expect_in err "'99999999999' must be a whole number of 32 bits"
    expect_status 2 "$ctl" call set_tnc_type -1
    expect_in err "'-1' must be a whole number from 0 to 4294967295"
    expect_status 2 "$ctl" call set_gatt_ble yes
    expect_in err "'yes' must be true or false"
    expect_status 2 "$ctl" call set_keepalive_intervals 1,x
    expect_status 2 "$ctl" call set_nick_name 1 @nowhere
    expect_in err "cannot read 'nowhere'"
    expect_status 2 "$ctl" call aplist_set_ssid list 0 home
    expect_in err 'refer to what an earlier call returned'
    {
        expect_status 2 "$ctl" call aplist_set_ssid '$1' 0 home
        expect_status 2 "$ctl" call cloudinfo_create : aplist_set_ssid '$1' 0 home
        expect_in err "'\$1' is a handle of kind 'cloud_info', not a handle of kind 'aplist'"
        expect_status 2 "$ctl" call start : send_presence '$1'
        expect_in err 'korvane_start returns nothing'
        expect_status 2 "$ctl" call start : send_presence '$x'
    }

}

check_doctor() {
    expect_status 1 "$ctl" doctor
    expect_in out 'WRONG package: no agent is installed'
    expect_in out "-> run 'korvanectl agent start'"
    mkdir -p "$KORVANE_PACKAGE_DIR"
    printf '[Package]\nVersion=2.3\nExecutable=/nowhere\n' >"$KORVANE_PACKAGE_DIR/org.korvane.agent.package"
    mkdir -m 0777 "$work/open"
    expect_status 1 env KORVANE_RUNTIME_DIR="$work/open" KORVANE_AGENT=/nowhere KORVANE_BUS=unix:path=/nowhere "$ctl" doctor
    expect_in out 'WRONG executable: the executable /nowhere'
    expect_in out "-> chmod 0700 $work/open"
    expect_in out 'WRONG program: /nowhere cannot be run'
    expect_in out 'WRONG bus: the message bus cannot be reached'
    printf 'nonsense' >"$KORVANE_PACKAGE_DIR/org.korvane.agent.package"
    expect_status 1 "$ctl" doctor --json
    grep -q '"check":"package","ok":false' out || fail 'doctor takes nonsense for a package entry'
    rm -r "$KORVANE_PACKAGE_DIR"
    mkdir -m 0700 "$KORVANE_RUNTIME_DIR"
    flock --no-fork "$KORVANE_RUNTIME_DIR/org.korvane.agent.kv_master.lock" sleep 60 &
    local holder=$!
    wait_until holds_lock
    expect_status 1 "$ctl" doctor
    expect_in out 'but no agent listens'
    kill "$holder"
    wait "$holder" 2>/dev/null
    wait_until lock_is_free
}
holds_lock() { ! flock -n "$KORVANE_RUNTIME_DIR/org.korvane.agent.kv_master.lock" true; }
lock_is_free() { flock -n "$KORVANE_RUNTIME_DIR/org.korvane.agent.kv_master.lock" true; }
