# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# Recording through a relay.
part_record_through() {
    check_command_lines
    check_recording 1.0
    check_recording 2.3
    check_killed_agent
    check_restarted_agent
    check_hostile_bytes
    check_relayed_bytes
}

check_command_lines() {
    expect_status 2 "$ctl" record --through
    expect_status 2 "$ctl" record --through setup.json
    expect_in err 'name the application: korvanectl record --through FILE -- APPLICATION'
    expect_status 2 "$ctl" record --throgh setup.json -- true
    expect_status 3 "$ctl" record --through setup.json -- touch started
    expect_in err 'no agent is installed'
    write_entry
    expect_status 3 "$ctl" record --through setup.json -- touch started
    expect_in err 'and none was started'
    [[ ! -e started && ! -e setup.json ]] || fail 'something was done without an agent'
    expect_status 0 "$ctl" agent start
    expect_status 1 "$ctl" record --through setup.json -- ./nothing-there
    expect_in err 'cannot run ./nothing-there'
    expect_status 1 "$ctl" record --through /nowhere/file -- touch started
    expect_in err 'cannot write /nowhere/file'
    [[ ! -e started && ! -e setup.json ]] || fail 'something was done after an error'
    expect_status 0 "$ctl" agent stop
    expect_nothing_left
}

# A package entry without a program that could be started.
write_entry() {
    mkdir -p "$KORVANE_PACKAGE_DIR" "$KORVANE_RUNTIME_DIR"
    chmod 700 "$KORVANE_RUNTIME_DIR"
    printf '[Package]\nVersion=2.3.0\n' >"$KORVANE_PACKAGE_DIR/org.korvane.agent.package"
}

# check_recording VERSION: the recording of a setup leads to the same calls and the same answers when it is played.
check_recording() {
    local version=$1 recording
    expect_status 0 "$ctl" agent start --agent-version "$version"
    # The phone's steps, with time for the start of the washer.
    sed 's/"expect": "[^"]*"/&, "within_ms": 60000/' "$setup" >phone.json
    expect_status 0 "$ctl" play "\"$PWD/phone.json\""
    "$ctl" record --json --through "setup-$version.json" -- "$washer" --join-ms 50 >recorded 2>err &
    recording=$!
    wait_until is_played
    expect_status 0 "$ctl" state --json play.problem
    expect_in out '"state":""'
    kill -TERM $recording
    wait $recording || fail "record does not end well: $(cat err recorded)"
    ran="record --through with agent $version"
    expect_in recorded '"warnings":0'
    expect_not_in "setup-$version.json" 20260417
    expect_not_in "setup-$version.json" 'laundry'
    "$ctl" journal --json >live-journal
    expect_status 0 "$ctl" agent stop
    expect_status 2 "$ctl" run --agent-version "$version" "setup-$version.json" -- "$washer" --join-ms 50
    expect_in err 'replace "FILL IN: pin" with the value'
    expect_status 0 python3 "$here/ctl/recording.py" fill-in "setup-$version.json"
    expect_status 0 "$ctl" run --json --agent-version "$version" "setup-$version.json" -- "$washer" --join-ms 50
    expect_in out '{"played":true}'
    cp out played-journal
    expect_status 0 python3 "$here/ctl/recording.py" compare live-journal played-journal
    expect_nothing_left
}
is_played() { "$ctl" state play.running | grep -q false; }

check_killed_agent() {
    expect_status 0 "$ctl" agent start
    "$ctl" record --through killed.json -- "$ctl" call --wait 60 get_device_id >recorded 2>err &
    local recording=$!
    wait_until is_called get_device_id
    kill -KILL "$(agent_process)"
    wait $recording || fail "record does not end after the agent: $(cat err recorded)"
    ran='record --through, the agent is killed'
    expect_in killed.json '{"expect":"get_device_id","answer":{"result":0}}'
    expect_in killed.json '{"kill":true}'
    expect_status 0 "$agent" --check-scenario killed.json
    expect_nothing_left
}
agent_process() { "$ctl" agent status --json | sed 's/.*"pid":\([0-9]*\).*/\1/'; }
is_called() { "$ctl" journal --filter "{\"method\":\"$1\"}" | grep -q "$1"; }

# The relay starts the agent again, as the library would.
check_restarted_agent() {
    expect_status 0 "$ctl" agent start
    "$ctl" record --through restarted.json -- "$washer" >recorded 2>err &
    local recording=$!
    wait_until is_called get_device_id
    kill -KILL "$(agent_process)"
    wait_until is_called get_device_id
    kill -TERM $recording
    wait $recording || fail "record does not end well: $(cat err recorded)"
    ran='record --through, the agent is started again'
    expect_in restarted.json '{"kill":true}'
    expect_in restarted.json '{"restart":true}'
    [[ $(grep -c '"expect":"start' restarted.json) -eq 2 ]] || fail 'not both starts are recorded'
    sed -i 's/"timestamp":[0-9]*,//' restarted.json
    expect_status 0 "$ctl" run restarted.json -- "$washer"
    expect_status 0 "$ctl" agent stop
    expect_nothing_left
}

check_hostile_bytes() {
    expect_status 0 "$ctl" agent start
    expect_status 0 "$ctl" record --json --through hostile.json -- python3 "$here/ctl/hostile_application.py" "$device"
    expect_in err 'warning: link 1: it does not begin with the handshake of an application; its bytes are passed on'
    expect_in err 'the application announces a frame of 4294967295 bytes'
    expect_in err "the request 'start' of 6 bytes cannot be decoded; it is not recorded"
    expect_in err "the request 'unknown 999' of 4 bytes cannot be decoded; it is not recorded"
    expect_in err 'the application sends on the callback link; this is not recorded'
    expect_in hostile.json '{"expect":"get_device_id"'
    expect_not_in hostile.json unknown
    expect_status 0 "$agent" --check-scenario hostile.json
    expect_status 0 "$ctl" agent status # it has survived
    expect_status 0 "$ctl" agent stop
    expect_nothing_left
}

check_relayed_bytes() {
    write_entry
    expect_status 0 python3 "$here/ctl/relayed_bytes_test.py" "$ctl"
    expect_nothing_left
}
