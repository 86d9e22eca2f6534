# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# Many scenarios, versions and fault plans at once; shards and reports.
part_suites() {
    write_suite
    check_cases
    check_failures
    check_refused_suites
    check_repetition
    check_parallel_cases
    check_descriptors
    check_progress
    check_fault_plans
    check_shards
    check_interrupted_suite
    check_watch
    check_watch_of_includes
    check_parts_variables_seeds
}

passed_runs() {
    [[ $(grep -c '^1 case, 0 failed' watched) -ge $1 ]]
}

check_watch() {
    mkdir -p watch/folder
    cp suite/id.json watch/folder/
    printf '#!/bin/sh\nexec %s\n' "$device" >watch/application
    chmod +x watch/application
    # SIGTERM, because the shell makes background processes ignore SIGINT.
    # The folder among the arguments is not watched: its files change all the time.
    "$ctl" test --watch watch/folder -- watch/application /proc >watched 2>err &
    local watching=$!
    wait_until passed_runs 1
    wait_until grep -q 'waiting for a change' watched
    touch watch/folder/notes.txt # is no scenario
    printf '{"steps": [{"expcet": "stop"}]}\n' >watch/folder/id.json
    wait_until grep -q "did you mean 'expect'?" err
    cp suite/id.json watch/folder/new.json
    mv watch/folder/new.json watch/folder/id.json
    wait_until passed_runs 2
    printf '#!/bin/sh\nexit 3\n' >watch/application
    wait_until grep -q '^1 case, 1 failed' watched
    printf '#!/bin/sh\nexec %s\n' "$device" >watch/application
    wait_until passed_runs 3
    kill -TERM "$watching"
    wait "$watching" || fail "a watch whose last run has passed does not end well: $(cat err watched)"
    expect_status 2 "$ctl" test --watch nowhere -- "$device"
    expect_nothing_left
}

check_watch_of_includes() {
    mkdir -p watch/parts watch/main
    printf '{"part": true, "steps": [{"expect": "get_device_id"}]}\n' >watch/parts/id.json
    printf '{"steps": [{"include": "../parts/id.json"}, {"expect": "stop"}]}\n' >watch/main/id.json
    "$ctl" test --watch watch/main -- "$device" >watched 2>err &
    local watching=$!
    wait_until passed_runs 1
    wait_until grep -q 'waiting for a change' watched
    printf '{"steps": [{"expcet": "stop"}]}\n' >watch/parts/id.json
    wait_until grep -q "id.json, line 1, column 13: there is no step 'expcet'" err
    rm watch/parts/id.json
    wait_until grep -q "cannot read .*/watch/parts/id.json" err
    printf '{"part": true, "steps": [{"expect": "get_device_id"}]}\n' >watch/parts/id.json
    wait_until passed_runs 2
    kill -TERM "$watching"
    wait "$watching" || fail "a watch of includes whose last run has passed does not end well: $(cat err watched)"
    expect_nothing_left
}

# A part is no case of its own. A variable is set where it exists. Reports name the seed of a failure.
check_parts_variables_seeds() {
    mkdir -p choices/parts
    printf '{"part": true, "variables": {"call": "reset"}, "steps": [{"expect": "${call}", "within_ms": 50}]}\n' >choices/parts/call.json
    printf '{"variables": {"call": "reset"}, "steps": [{"include": "parts/call.json", "with": {"call": "${call}"}},
        {"any_order": [{"say": "a"}, {"say": "b"}]}, {"expect": "${call}", "within_ms": 50}]}\n' >choices/a.json
    printf '{"variables": {"other": "stop"}, "steps": [{"expect": "${other}"}]}\n' >choices/b.json
    expect_status 1 "$ctl" test choices -- "$device"
    expect_cases a@2.3 b@2.3
    expect_status 1 "$ctl" test --set call=get_device_id --seed 5 --junit seed.xml choices -- "$device"
    expect_cases a@2.3 b@2.3
    expect_in out 'the same order again: --seed 5'
    expect_in seed.xml '<property name="seed" value="5"/>'
    expect_status 1 "$ctl" report merge seed.xml
    expect_in out 'the same order again: --seed 5'
    expect_status 1 "$ctl" test --set call=get_device_id --seed 5 --json choices/a.json -- "$device"
    expect_in out '"seed":5'
    cp out seed.json
    expect_status 1 "$ctl" report merge --tap seed.json
    expect_in out '  seed: 5'
    expect_status 0 "$ctl" test --set other=start choices/b.json -- "$device"
    expect_refused "no scenario has a variable 'othr'; did you mean 'other'?" --set othr=x choices
    expect_refused 'no scenario is meant for these agent versions or matches the filter' choices/parts
    expect_nothing_left
}

write_suite() {
    mkdir -p suite/first
    printf '{"title": "s", "steps": [{"expect": "start", "answer": {"result": 0}}, {"expect": "stop"}]}\n' >suite/first/start.json
    printf '{"title": "i", "since": "1.3", "steps": [{"expect": "get_device_id"}, {"expect": "stop"}]}\n' >suite/id.json
    printf '{"title": "o", "before": "1.3", "steps": [{"expect": "get_device_id"}, {"expect": "stop"}]}\n' >suite/old.json
    # It fails only after the application has printed its lines and called the agent, however slow the machine is.
    printf '{"steps": [{"until": {"running": true}}, {"expect": "reset", "within_ms": 200}]}\n' >fails.json
    printf '{"steps": [{"wait_ms": 60000}]}\n' >waits.json
}

# The names of the cases in the output, in alphabetical order.
expect_cases() {
    sed -n 's/^\(passed\|FAILED\)  \([^ ]*\)  .*/\2/p' out | sort >names
    printf '%s\n' "$@" | diff - names || fail "other cases than expected have run: $ran"
}

check_cases() {
    expect_status 0 "$ctl" test suite -- "$device"
    expect_cases first/start@2.3 id@2.3 old@1.2
    expect_in out '3 cases, 0 failed'
    expect_nothing_left
    expect_status 0 "$ctl" test --agent-versions 1.2,1.3 suite -- "$device"
    expect_cases first/start@1.2 first/start@1.3 id@1.3 old@1.2
    expect_status 0 "$ctl" test --agent-versions all suite/id.json -- "$device"
    expect_cases id@1.3 id@1.4 id@1.5 id@1.6 id@2.0 id@2.1 id@2.2 id@2.3
    expect_status 0 "$ctl" test --agent-versions 1.2,1.3 --filter 'start@*3' suite suite/id.json -- "$device"
    expect_cases first/start@1.3
    expect_nothing_left
}

check_failures() {
    expect_status 1 "$ctl" test --junit report.xml fails.json suite/id.json -- sh -c "echo 'a line of the application'; exec $device"
    expect_cases fails@2.3 id@2.3
    expect_in out 'expect reset: not within 200 ms; called instead:'
    expect_in out '    the last entries of the journal:'
    expect_in out 'first-device('
    expect_in out '      a line of the application'
    expect_in out '2 cases, 1 failed'
    expect_in report.xml '<testsuite name="korvane" tests="2" failures="1" errors="0" time="'
    expect_in report.xml '<testcase classname="id" name="2.3" time="'
    expect_in report.xml 'expect reset: not within 200 ms'
    expect_in report.xml '<system-out>a line of the application'
    python3 -c 'import xml.etree.ElementTree as tree; tree.parse("report.xml")' || fail 'the report is not XML'
    # More output than a pipe holds is not lost, and does not stop the application.
    expect_status 1 "$ctl" test fails.json -- sh -c "yes 0123456789 | head -20000; echo 'the last line'; exec $device"
    expect_in out '      the last line'
    expect_status 1 "$ctl" test --tap fails.json -- "$device"
    expect_in out 'TAP version 13'
    expect_in out 'not ok 1 - fails@2.3'
    expect_in out '1..1'
    expect_status 1 "$ctl" test --json fails.json -- "$device"
    ! grep -qv '^{' out || fail 'not only JSON is printed'
    expect_in out '{"case":"fails@2.3","scenario":"fails","variant":"2.3","passed":false,'
    expect_in out '{"cases":1,"passed":0,"failed":1,'
    expect_status 1 "$ctl" test --timeout 1 waits.json -- "$washer"
    expect_in out 'the scenario did not end within 1 s'
    expect_status 1 "$ctl" test waits.json -- sh -c 'exit 3'
    expect_in out 'the application ended early, with exit status 3'
    expect_status 1 "$ctl" test --junit /nowhere/report.xml suite -- touch started
    [[ ! -e started ]] || fail 'a case was started although its report cannot be written'
    expect_nothing_left
}

# Nothing is started if the command line or one of the scenarios has a mistake.
check_refused_suites() {
    mkdir -p twice/suite/first empty
    cp suite/first/start.json twice/suite/first/
    printf '{"steps": [\n  {"expcet": "stop"}\n]}\n' >mistake.json
    printf '{"steps": [\n\n  {"expect": "strat"}\n]}\n' >other-mistake.json
    printf '{"steps": [{"emit": "x_cb", "values": ["FILL IN: pin"]}]}\n' >gap.json
    expect_refused "there is no agent version '1.9'" --agent-versions 1.3,1.9 suite
    expect_refused "mistake.json, line 2, column 4: there is no step 'expcet'; did you mean 'expect'?" suite mistake.json other-mistake.json
    expect_in err "other-mistake.json, line 3, column 4: there is no method or function 'strat'"
    expect_refused 'gap.json, line 1: replace "FILL IN: pin" with the value' gap.json
    expect_refused 'cannot read nowhere.json: No such file' nowhere.json
    expect_refused 'no scenario, a file with the suffix .json, is in empty' empty
    expect_refused "two scenarios have the name 'first/start': suite/first/start.json and twice/suite/first/start.json" suite twice/suite
    expect_refused 'no scenario is meant for these agent versions or matches the filter' --filter nothing suite
    expect_refused "--shard must be I/N with I from 1 to N, not '3/2'" --shard 3/2 suite
    expect_refused 'mistake.json is not a report' --durations mistake.json suite
    expect_refused 'choose --json or --tap' --json --tap suite
    expect_status 2 "$ctl" test suite
    expect_status 2 "$ctl" test -- "$device"
    expect_status 2 "$ctl" run --agent-version 1.2 suite/id.json -- touch started
    expect_in err "the scenario 'i' is for agents from 1.3 on, not for 1.2"
    [[ ! -e started ]] || fail 'the application was started with an agent for which the scenario is not meant'
    expect_nothing_left
}
expect_refused() {
    expect_status 2 "$ctl" test "${@:2}" -- touch started
    expect_in err "$1"
    [[ ! -e started ]] || fail "a case was started: $ran"
}

check_repetition() {
    expect_status 0 "$ctl" test --repeat 2 suite/id.json -- "$device"
    expect_cases id@2.3#1 id@2.3#2
    # The third run of this application makes no call.
    expect_status 1 "$ctl" test --until-fail --jobs 1 suite/id.json -- sh -c "echo >>turns; [ \$(wc -l <turns) -eq 3 ] || exec $device"
    expect_cases id@2.3#1 id@2.3#2 id@2.3#3
    expect_in out 'FAILED  id@2.3#3'
    expect_in out 'not every case has run'
    expect_nothing_left
    local run
    for run in 1 2 3; do
        expect_status 0 "$ctl" test --shuffle $((run / 2)) --jobs 1 --agent-versions 1.0,1.3,2.3 suite/first/start.json suite/id.json -- "$device"
        sed -n 's/^passed  \([^ ]*\)  .*/\1/p' out >"order-$run"
        expect_cases id@1.3 id@2.3 start@1.0 start@1.3 start@2.3
    done
    cmp -s order-2 order-3 || fail 'the same seed gives two orders'
    ! cmp -s order-1 order-2 || fail 'two seeds give the same order'
}

# Each application waits until another one runs.
check_parallel_cases() {
    mkdir meeting
    expect_status 0 "$ctl" test --jobs 2 --repeat 2 suite/id.json -- sh -c \
        "touch meeting/\$\$; until [ \$(ls meeting | wc -l) -ge 2 ]; do sleep 0.02; done; exec $device"
    expect_nothing_left
}

# More cases than there are descriptors for wait for others.
check_descriptors() {
    expect_status 0 bash -c "ulimit -n 64; exec '$ctl' test --jobs 40 --repeat 40 suite/id.json -- '$device'"
    expect_in err "4 cases run at the same time instead of 40, because the limit of open descriptors is 64; 'ulimit -n' raises it"
    expect_nothing_left
}

# On a terminal, and only there, a line shows what runs. Each result replaces it.
check_progress() {
    expect_status 0 script -qec "'$ctl' test suite/id.json -- '$device'" /dev/null
    expect_in out $'\r\033[K[0/1, 0 failed]  id@2.3\r\033[Kpassed  id@2.3  '
    expect_not_in out $'\033[32m'
    expect_status 0 env -u NO_COLOR TERM=xterm script -qec "'$ctl' test suite/id.json -- '$device'" /dev/null
    expect_in out $'\033[32mpassed\033[0m  id@2.3  '
    expect_status 0 "$ctl" test suite/id.json -- "$device"
    expect_not_in out $'\r'
}

check_fault_plans() {
    printf '{"steps": [{"fault": "start", "form": "result", "value": -1}]}\n' >refuses.json
    printf '{"steps": [{"expect": "start", "answer": {"result": -1}}]}\n' >refused.json
    expect_status 1 env KORVANE_WITHIN_MS=1000 "$ctl" test refused.json -- "$washer"
    expect_status 0 "$ctl" test --faults refuses.json refused.json -- sh -c "$washer; sleep 60"
    expect_cases refused@2.3+refuses
    printf '{"since": "1.3", "steps": [{"fault": "reset", "form": "result", "value": -1}]}\n' >other.json
    expect_status 0 "$ctl" test --faults other.json --faults refuses.json --agent-versions 1.2,1.3 --filter +other suite -- "$device"
    expect_cases first/start@1.3+other id@1.3+other
    expect_nothing_left
}

# All shards together run each case once, whatever the durations are.
check_shards() {
    local all=(first/start@1.2 first/start@1.3 first/start@2.3 id@1.3 id@2.3 old@1.2) shard
    printf '%s\n' '{"case":"id@1.3","scenario":"id","variant":"1.3","passed":true,"seconds":50}' \
        '{"case":"old@1.2","scenario":"old","variant":"1.2","passed":true,"seconds":1}' >last.json
    for shard in 1 2 3; do
        expect_status 0 "$ctl" test --shard $shard/3 --durations last.json --json --junit "shard-$shard.xml" \
            --agent-versions 1.2,1.3,2.3 suite -- "$device"
        cp out "shard-$shard.json"
    done
    # Cases of unknown length count as 25.5 s, the mean of the known ones.
    expect_in_shard 1 id@1.3 old@1.2
    expect_in_shard 2 first/start@1.2 first/start@2.3
    expect_in_shard 3 first/start@1.3 id@2.3
    local form
    for form in json xml; do
        expect_status 0 "$ctl" report merge --junit all.xml shard-1.$form shard-2.$form shard-3.$form
        expect_cases "${all[@]}"
        expect_in out '6 cases, 0 failed'
        expect_in all.xml 'tests="6" failures="0"'
    done
    expect_status 0 "$ctl" report merge --json shard-3.json shard-1.xml shard-2.json
    expect_in out '{"cases":6,"passed":6,"failed":0,'
    expect_status 1 "$ctl" report merge shard-1.json shard-3.json
    expect_in err 'the report of shard 2/3 is missing'
    expect_status 1 "$ctl" report merge shard-1.json shard-2.json shard-2.xml
    expect_in err 'is in both shard-2.json and shard-2.xml'
    sed -i '$d' shard-2.json
    expect_status 1 "$ctl" report merge shard-2.json
    expect_in out 'not every case has run'
    expect_status 2 "$ctl" report merge nowhere.xml
    expect_status 2 "$ctl" report merge suite/id.json
    expect_in err 'is not a report'
    # A failure keeps its reason on the way through both forms.
    expect_status 1 "$ctl" test --junit failed.xml --json fails.json -- "$device"
    cp out failed.json
    expect_status 1 "$ctl" report merge failed.json
    cp out by-json
    expect_status 1 "$ctl" report merge failed.xml
    diff <(sed 's/[0-9.]* s\b//' by-json) <(sed 's/[0-9.]* s\b//' out) || fail 'the two forms of a report differ'
    expect_in out 'expect reset: not within 200 ms'
    # Without a report of an earlier run yet, the file is empty.
    : >empty.json
    expect_status 0 "$ctl" test --shard 1/2 --durations empty.json suite/id.json -- "$device"
    expect_cases id@2.3
    # More shards than cases: the last one has nothing to do.
    expect_status 0 "$ctl" test --shard 2/2 suite/id.json -- touch started
    expect_in out '0 cases, 0 failed'
    [[ ! -e started ]] || fail 'a shard without cases runs one'
}

expect_in_shard() {
    sed -n 's/^{"case":"\([^"]*\)".*/\1/p' "shard-$1.json" | sort >names
    printf '%s\n' "${@:2}" | diff - names || fail "shard $1 has other cases than expected"
}

check_interrupted_suite() {
    printf '{"steps": [{"expect": "start"}]}\n' >begins.json
    rm -f out
    "$ctl" test --jobs 2 waits.json begins.json -- "$washer" >out 2>err &
    wait_until grep -q passed out
    kill -INT $!
    wait $!
    [[ $? -eq 1 ]] || fail 'SIGINT is not answered by exit status 1'
    ran='test, SIGINT'
    expect_in out 'not every case has run'
    expect_nothing_left
}
