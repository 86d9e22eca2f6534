# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
# shellcheck disable=SC2016,SC2034,SC2154 # ctl_test and helpers.bash share variables with this file
# Calls and traces.
part_calls() {
    check_calls
    check_callbacks

    check_traces
}

check_calls() {
    expect_status 0 "$ctl" agent start
    {
        expect_status 0 "$ctl" call get_device_id
        grep -qE '^1  korvane_get_device_id: KORVANE_ERROR_NONE  "[0-9a-f-]{36}"$' out || fail 'no device id'
        expect_status 0 "$ctl" call set_language_list en-GB,fr-FR : set_keepalive_intervals '[1,2]' : set_wifi_connection_error_code -3
        expect_status 0 "$ctl" journal --filter '{"method":"set_language_list"}'
        expect_in out '[{"language":"en-GB"},{"language":"fr-FR"}]'
        expect_status 0 "$ctl" call --json register_sub_device 1 lamp : get_sub_device_presence_list : get_sub_device_presence '$2.1'
        expect_in out '"function":"korvane_get_sub_device_presence","result":0,"name":"KORVANE_ERROR_NONE","out":["lamp",'
        expect_status 1 "$ctl" call get_sub_device_presence_list : get_sub_device_presence '$1.9'
        expect_in err '$1 has only 1 items'
        expect_status 0 "$ctl" call get_sub_device_presence_list : release_sub_device_presence_list '$1'
        expect_status 0 "$ctl" call aplist_create 1 : aplist_set_ssid '$1' 0 home : aplist_destroy '$1'
        expect_status 1 "$ctl" call aplist_create 1 : aplist_destroy '$1' : aplist_destroy '$1'
        expect_in err '$1 was released by an earlier call'
        printf 'a nick from a file' >nick
        expect_status 0 "$ctl" call set_nick_name 0 @nick
        expect_status 0 "$ctl" journal --filter '{"arguments":{"nick":"a nick from a file"}}'
        expect_in out set_nick_name
        expect_status 1 "$ctl" call set_nick_name 0 @null : stop
        expect_in out KORVANE_ERROR_INVALID_PARAMETER
        expect_status 1 "$ctl" call --keep-going set_nick_name 0 @null : stop
        expect_in out '2  korvane_stop: KORVANE_ERROR_NONE'
        expect_status 0 "$ctl" call initialize : deinitialize : get_device_id
        expect_status 0 env KORVANE_BUS="unix:path=$work/no-bus" "$ctl" call initialize : deinitialize : get_device_id
        [[ $(grep -c 'cannot connect to the message bus' err) == 1 ]] || fail 'a missing message bus is not reported once'
    }
}

check_callbacks() {
    expect_status 0 "$ctl" call --events 1 start_async
    expect_in out 'callback of korvane_start_async(0 (done))'
    expect_status 0 "$ctl" call get_thing_status
    expect_in out 'korvane_get_thing_status: KORVANE_ERROR_NONE  0 (not signed up)'
    expect_status 0 "$ctl" call --json get_thing_status
    expect_in out '"out":[0]'
    expect_not_in out 'not signed up'
    expect_status 1 "$ctl" call --events 1 --wait 0.1 set_status_changed_cb
    expect_in err 'only 0 of 1 callbacks ran'
    "$ctl" call --events 2 --wait 30 set_pin_cb : set_wifi_ap_provisioning_cb >callbacks &
    local listener=$!
    wait_until grep -q wifi_ap callbacks
    expect_status 0 "$ctl" emit pin_generate_cb '["1234", 8]'
    expect_status 0 "$ctl" emit wifi_ap_prov_with_candidates_cb '[{"ap_ssid":"home","ap_channel":11}]'
    wait "$listener" || fail 'the callbacks did not run'
    ran='call set_pin_cb : set_wifi_ap_provisioning_cb'
    expect_in callbacks 'callback of korvane_set_pin_cb("1234", 8)'
    expect_in callbacks '"ssid":"home"'
    expect_in callbacks '"channel":11'

}

check_traces() {
    expect_status 0 "$ctl" trace -- "$device"
    expect_in out '->  start(name "", mode 0, flags 0)'
    grep -qE '<-  get_device_id: device_id "[0-9a-f-]{36}", result 0  \([0-9]+ us\)$' out || fail 'no reply is shown'
    expect_in out 'initialize: NONE'
    expect_status 0 "$ctl" trace --json -- "$ctl" call --events 1 set_preconfigured_pin 87654321 : start_async
    grep -qE '"request":"set_preconfigured_pin","id":33,"arguments":\{"pin":"<secret, 8 bytes>"\}' out ||
        wrong 'a request is decoded otherwise'
    grep -q '"event":"start_async_cb","seq_id":[0-9]*,"once":true,"values":{"result":0}' out || fail 'no event is shown'
    expect_not_in out 87654321
    expect_status 0 "$ctl" trace --json -- "$ctl" call send_custom_push_msg '"very private"'
    expect_in out '"arguments":{"request":{"common_interface":2,"custom_push_msg":"<secret, 12 bytes>"}}'
    expect_not_in out 'very private'
    expect_not_in out KORVANE_ERROR
    expect_status 1 "$ctl" trace -- "$ctl" call strat
    expect_in err 'ended with exit status 2'
    expect_status 0 "$ctl" trace -- true
    expect_in err 'nothing crossed a port'
    expect_status 1 "$ctl" trace -- ./nothing-there
    expect_status 2 "$ctl" trace
    expect_status 0 env KORVANE_TRACE="$work/trace" "$device"
    [[ $(stat -c %a trace) == 600 ]] || fail 'others can read a trace'
    expect_status 0 "$ctl" trace --read trace
    expect_in out '->  stop()'
    head -c 100 trace >cut-trace
    expect_status 1 "$ctl" trace --read cut-trace
    expect_in err 'ends in the middle of record'
    expect_status 1 "$ctl" trace --read "$setup"
    expect_in err 'cannot read the trace'
    expect_status 0 env KORVANE_TRACE=/dev/full "$device"
    expect_in err 'give a file, or fd:N'
    expect_status 0 "$ctl" agent stop
}
