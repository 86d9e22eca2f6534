# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# Scenarios.
part_scenarios() {
    check_run
    check_placeholders
    check_interrupted_runs
    check_forbidden_calls
    check_kept_calls
    check_deaths_of_the_agent
    check_functions_in_scenarios
    check_variables
    check_includes
    check_random_orders
    check_record
}

check_run() {
    expect_status 0 "$ctl" run "$setup" -- "$washer" --join-ms 50
    expect_in out 'played well'
    expect_in out 'set_language_list'
    expect_in out '<=  status_changed_cb(status 4 (done))'
    expect_nothing_left
    expect_status 0 "$ctl" run --agent-version 1.0 --json "$setup" -- "$washer" --join-ms 50
    expect_in out '{"played":true}'
    ! grep -qv '^{' out || fail 'not only JSON is printed'

    expect_status 2 "$ctl" run --agent-version 3.0 "$setup" -- "$washer"
    expect_in err "agent version '3.0'"
    expect_not_in out FAILED
    expect_nothing_left
    expect_status 2 "$ctl" run
    expect_status 2 "$ctl" run "$setup"
    expect_status 2 "$ctl" run nowhere.json -- true
    expect_in err 'cannot read '
    printf '{"steps": [\n  {"expect": "start"},\n  {"expcet": "stop"}\n]}\n' >mistake.json
    expect_status 2 "$ctl" run mistake.json -- "$device"
    expect_in err "mistake.json, line 3, column 4: there is no step 'expcet'; did you mean 'expect'?"
    printf '{"steps": [\n{"expect": "reset", "within_ms": 100}]}\n' >other.json
    expect_status 1 "$ctl" run other.json -- "$washer"
    expect_in out 'other.json, line 2'
    expect_nothing_left
    printf '{"steps": [{"expect": "reset", "within_ms": 60000}]}\n' >never.json
    expect_status 1 "$ctl" run never.json -- sh -c 'exit 3'
    expect_in out 'the application ended early, with exit status 3'
    expect_status 1 "$ctl" run never.json -- sh -c 'kill -SEGV $$'
    expect_in out 'with signal 11'
    expect_status 1 "$ctl" run never.json -- ./nothing-there
    expect_in out 'cannot run ./nothing-there'
    expect_status 1 env KORVANE_AGENT=/nowhere "$ctl" run never.json -- true
    expect_status 1 "$ctl" run --quiet --timeout 1 never.json -- "$washer"
    expect_in out 'FAILED: the scenario did not end within 1 s'
    expect_not_in out '  ->  '
    expect_status 2 "$ctl" run --timeout 0 never.json -- "$washer"
    printf '{"steps": [{"fault": "start", "form": "result", "value": -1}]}\n' >plan.json
    printf '{"steps": [{"expect": "start", "answer": {"result": -1}}]}\n' >refused.json
    expect_status 0 "$ctl" run --faults plan.json refused.json -- sh -c "$washer; sleep 60"
    expect_nothing_left

}

check_placeholders() {
    printf '{"steps": [\n  {"expect": "start"},\n  {"emit": "x_cb", "values": ["FILL IN: pin", "FILL IN: ssid"]}\n]}\n' >gaps.json
    expect_status 2 "$ctl" run gaps.json -- touch started
    expect_in err 'gaps.json, line 3: replace "FILL IN: pin" with the value'
    expect_in err 'gaps.json, line 3: replace "FILL IN: ssid" with the value'
    expect_not_in err 'line 2'
    [[ ! -e started ]] || fail 'the application was started in spite of placeholders'
    expect_nothing_left
}

check_interrupted_runs() {
    local number
    for number in INT TERM; do
        rm out
        "$ctl" run never.json -- "$washer" >out 2>err &
        wait_until grep -q 'get_device_id' out
        kill -"$number" $!
        wait $!
        [[ $? -eq 1 ]] || fail "SIG$number is not answered by exit status 1"
        ran="run, SIG$number"
        expect_in out 'FAILED: interrupted by'
        expect_nothing_left
    done
    rm out
    "$ctl" run never.json -- "$washer" >out 2>err &
    wait_until grep -q 'get_device_id' out
    kill -KILL "$(agent_below $!)"
    wait $!
    [[ $? -eq 1 ]] || fail 'an agent that is killed is not answered by exit status 1'
    ran='run, the agent is killed'
    expect_in out 'the agent ended before the scenario did: signal 9'
    expect_nothing_left

}

check_forbidden_calls() {
    printf '%s' '{"steps": [{"expect": "start"}, {"never": "stop"}, {"never": "reset"}, {"wait_ms": 5000}]}' >no-stop.json
    expect_status 1 "$ctl" run no-stop.json -- "$device"
    expect_in out 'never stop: it was called'
    printf '%s' '{"steps": [{"expect": "start"}, {"never": "stop"}, {"never": "start", "with": {"mode": 7}}, {"wait_ms": 200}]}' >no-stop.json
    expect_status 0 "$ctl" run no-stop.json -- "$washer"
    printf '%s' '{"steps": [{"expect": "start"}, {"restart": true}, {"expect": "start", "not_before_ms": 4000}]}' >late.json
    expect_status 1 "$ctl" run late.json -- "$washer"
    expect_in out 'expect start: it came after '
    expect_in out ' ms, not after 4000 ms or more'
    printf '%s' '{"steps": [{"expect": "start"}, {"kill": true}, {"wait_ms": 300}, {"restart": true}, {"expect": "start", "not_before_ms": 1}]}' >late.json
    expect_status 0 "$ctl" run late.json -- "$washer"
    expect_nothing_left
}

# A command ends the calls that later expectations mean, unless the scenario keeps them.
check_kept_calls() {
    local steps='"steps": [{"expect": "get_device_id"}, {"emit": "user_confirm_cb"}, {"expect": "start", "within_ms": 300}]'
    printf '{%s}' "$steps" >calls.json
    expect_status 1 "$ctl" run calls.json -- "$washer"
    expect_in out 'expect start: not within 300 ms'
    printf '{"keeps_calls": true, %s}' "$steps" >calls.json
    expect_status 0 "$ctl" run calls.json -- "$washer"
    expect_nothing_left
}

# The washer connects again, while the first device ends with its link.
check_deaths_of_the_agent() {
    printf '%s' '{"steps": [{"expect": "start"}, {"until": {"running": true}}, {"restart": true}, {"until": {"running": false}},
        {"expect": "start"}, {"until": {"running": true}}, {"phone": "connect"}, {"phone": "confirm"},
        {"expect": "send_user_confirm", "answer": {"result": 0}}]}' >restarts.json
    expect_status 0 "$ctl" run restarts.json -- "$washer"
    expect_status 1 "$ctl" run restarts.json -- "$device"
    printf '%s' '{"steps": [{"expect": "start"}, {"kill": true}, {"never": "start"}, {"wait_ms": 1000}]}' >away.json
    expect_status 0 "$ctl" run away.json -- sh -c "$washer; sleep 60"
    expect_nothing_left
}

check_variables() {
    printf '%s\n' '{"variables": {"call": "get_device_id", "ms": 200}, "steps": [' \
        '  {"expect": "${call}", "within_ms": "${ms}"}]}' >variables.json
    expect_status 0 "$ctl" run variables.json -- "$device"
    expect_status 1 "$ctl" run --set call=reset --set ms=10 variables.json -- "$device"
    expect_in out 'expect reset: not within 10 ms'
    expect_status 2 "$ctl" run --set cal=stop variables.json -- touch started
    expect_in err "no scenario has a variable 'cal'; did you mean 'call'?"
    expect_status 2 "$ctl" run --set ms=soon variables.json -- touch started
    expect_in err "variables.json, line 1, column 41: the value that is given for 'ms' must be a number"
    expect_status 2 "$ctl" run --set call=strat variables.json -- touch started
    expect_in err "variables.json, line 2, column 4: there is no method or function 'strat'; did you mean 'start'?"
    expect_status 2 "$ctl" run --set call variables.json -- touch started
    expect_in err '--set must be the name of a variable'
    [[ ! -e started ]] || fail 'the application was started in spite of a wrong variable'
    expect_nothing_left
}

check_includes() {
    mkdir -p parts
    printf '{"part": true, "variables": {"call": "start"}, "steps": [\n  {"expect": "${call}"}]}\n' >parts/call.json
    printf '%s\n' '{"steps": [{"include": "parts/call.json"},' '  {"include": "parts/call.json", "with": {"call": "reset"}}]}' >includes.json
    expect_status 1 env KORVANE_WITHIN_MS=5000 "$ctl" run includes.json -- "$washer"
    expect_in out 'scenario, call.json, line 2: expect start'
    expect_in out "parts/call.json, line 2, included by $PWD/includes.json, line 2, expect reset: not within 5000 ms"
    expect_status 2 "$ctl" run parts/call.json -- touch started
    expect_in err 'is a part, which other scenarios include'
    printf '{"steps": [\n{"expcet": "start"}]}\n' >parts/call.json
    expect_status 2 "$ctl" run includes.json -- touch started
    expect_in err "parts/call.json, line 2, column 2: there is no step 'expcet'; did you mean 'expect'?"
    expect_in err '(included by '
    [[ ! -e started ]] || fail 'the application was started in spite of a mistake in an included file'
    expect_nothing_left
}

# Seed 1 leads to the order a, b, c; seed 2 to c, a, b.
check_random_orders() {
    printf '{"steps": [{"any_order": [{"say": "a"}, {"say": "b"}, {"say": "c"}]}, {"expect": "stop"}]}\n' >orders.json
    expect_status 0 "$ctl" run --seed 2 orders.json -- "$device"
    [[ $(sed -n 's/.*scenario, line 1: \([abc]\)$/\1/p' out | tr -d '\n') == cab ]] || fail 'seed 2 does not lead to the order c, a, b'
    expect_not_in out seed
    printf '{"steps": [{"any_order": [{"say": "a"}, {"say": "b"}, {"say": "c"}]}, {"expect": "reset", "within_ms": 50}]}\n' >orders.json
    expect_status 1 "$ctl" run --seed 1 orders.json -- "$device"
    [[ $(sed -n 's/.*scenario, line 1: \([abc]\)$/\1/p' out | tr -d '\n') == abc ]] || fail 'seed 1 does not lead to the order a, b, c'
    expect_in out 'the same order again: --seed 1'
    expect_status 1 "$ctl" run --json --seed 4294967295 orders.json -- "$device"
    expect_in out '"seed":4294967295}'
    expect_status 1 "$ctl" run orders.json -- "$device"
    local seed
    seed=$(sed -n 's/.*the same order again: --seed \([0-9]*\)$/\1/p' out)
    sed -n 's/.*scenario, line 1: \([abc]\)$/\1/p' out >first-order
    expect_status 1 "$ctl" run --seed "$seed" orders.json -- "$device"
    sed -n 's/.*scenario, line 1: \([abc]\)$/\1/p' out | diff - first-order || fail 'the seed of a failure does not repeat its order'
    expect_status 2 "$ctl" run --seed 4294967296 orders.json -- "$device"
    expect_status 2 "$ctl" run --seed x orders.json -- "$device"
    expect_nothing_left
}

# One scenario holds for agents on both sides of 2.0, which know the sign-up by different requests.
check_functions_in_scenarios() {
    printf '%s' '{"steps": [{"expect": "korvane_sign_up_cloud", "with": {"region": "EU"}, "answer": {"result": 0}},
        {"until": {"signed_up": true}}]}' >signs-up.json
    expect_status 0 "$ctl" test --agent-versions 1.6,2.0 signs-up.json -- "$washer" --sign-up
    expect_in out '2 cases, 0 failed'
    sed -i 's/"EU"/"US"/; s/"result": 0}}/"result": 0}, "within_ms": 500}/' signs-up.json
    expect_status 1 "$ctl" test --agent-versions 1.6,2.0 signs-up.json -- "$washer" --sign-up
    expect_in out 'cloud_info.region is "EU", not "US"'
    expect_in out 'request.region is "EU", not "US"'
    printf '%s' '{"steps": [{"expect": "korvane_start_async", "within_ms": 200}, {"expect": "korvane_start"}]}' >skips.json
    expect_status 0 "$ctl" test --agent-versions 1.6 skips.json -- "$washer"
    expect_status 1 "$ctl" test --agent-versions 2.0 skips.json -- "$washer"
}

check_record() {
    expect_status 0 "$ctl" agent start
    "$ctl" record --json played.json -- "$washer" --join-ms 50 >recorded 2>err &
    wait_until is_called get_device_id
    expect_status 0 "$ctl" phone connect
    expect_status 0 "$ctl" phone confirm
    wait_until is_called send_user_confirm
    expect_status 0 "$ctl" phone pin '{"pin": "20260417"}'
    kill -TERM $!
    wait $! || fail "record does not end well: $(cat err recorded)"
    ran=record
    expect_in recorded '"fill_in":["line '
    expect_in recorded 'pin_generate_cb, pin, a secret"]'
    expect_in played.json '{"expect":"send_user_confirm","with":{"confirm":true},"answer":{"result":0}}'
    expect_in played.json '{"emit":"user_confirm_cb","values":[]}'
    expect_not_in played.json 20260417
    expect_not_in played.json '"expect":"stop"'
    expect_status 2 "$ctl" run played.json -- "$washer" --join-ms 50
    expect_in err 'replace "FILL IN: pin" with the value'
    sed -i 's/FILL IN: pin/20260417/; s/"timestamp":[0-9]*,//' played.json
    expect_status 0 "$ctl" run played.json -- "$washer" --join-ms 50
    expect_in out 'played well'

    # What an application sends is no variable of the scenario.
    expect_status 0 "$ctl" record dollar.json -- "$ctl" call set_nick_name 0 'a ${nick}'
    expect_in dollar.json '"a $${nick}"'
    expect_status 0 "$ctl" run dollar.json -- "$ctl" call --wait 1 set_nick_name 0 'a ${nick}'

    expect_status 1 "$ctl" record /nowhere/file -- true
    expect_status 1 "$ctl" record /dev/full -- "$device"
    expect_in err 'No space left on device; nothing was recorded'
    [[ -c /dev/full ]] || fail '/dev/full was replaced'
    # The limit, of 1 KiB, is one of its own output as well.
    expect_status 1 bash -c "trap '' XFSZ; ulimit -f 1
        exec '$ctl' record full.json -- sh -c 'for i in 1 2 3 4 5 6 7 8; do $device >/dev/null 2>&1; done'"
    expect_in err 'cannot write full.json'
    [[ ! -e full.json && ! -e full.json.part ]] || fail 'half a file is left'
    "$ctl" record rest.json >recorded 2>err &
    wait_until grep -q recording recorded
    expect_status 0 "$ctl" agent stop
    wait $!
    [[ $? -eq 1 && -s rest.json ]] || fail 'record does not say that the agent went away'
}
is_called() { "$ctl" journal --filter "{\"method\":\"$1\"}" | grep -q "$1"; }
agent_below() { pgrep -P "$1" -f "$agent" | head -1; }

