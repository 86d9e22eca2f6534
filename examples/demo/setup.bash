# SPDX-License-Identifier: Apache-2.0
# A complete first setup of the washer, phone included; sourced by run-demo.
# shellcheck shell=bash

# What a washer of these agent versions is told and can tell.
setup_with() {
    act "A phone sets up a washer whose agent is $1"
    start_agent --agent-version "$1" --scenario "$here/washer/setup.json"
    start_device washer --join-ms 50 --state "$stage/state"
    await "$stage/device" 'washer: ready'
    await_end_of_play
    await "$stage/device" 'setup status: 4'
    kill -TERM "$device"
    end_device
    await "$stage/agent" 'agent stopped'
    scenario_passed
    device_says 'display: PIN 20260417' 'display: dark' 'country: FR' 'join: failed: the password is wrong' \
        'join: failed: there is no such network' 'join: joined home' 'soft access point: stopped' 'setup status: 4' 'stop: NONE'
    grep -q '^language=fr-FR$' "$stage/state" || fail 'the washer did not keep its language'
    exits_with 0
    show_from 'start(name'
    curtain "a wrong PIN, a wrong password, a network that is gone, then joined: $(last_result_of join)"
}

# What the versions differ in: records or documents, requests by number, and what an old one cannot be told.
setup_with 1.0
agent_notes 'send_ap_list(req_id 1' 'event wifi_ap_provisioning_cb(ap_info {"ssid":"home"'
agent_does_not_note set_wifi_connection_error_code

setup_with 1.2
agent_notes 'send_ap_list(req_id 1' 'event wifi_ap_provisioning_cb(ap_info {"ssid":"home"' 'ultrasound_pin_generate_cb'
agent_does_not_note set_wifi_connection_error_code

setup_with 1.3
agent_notes 'send_ap_list(req_id 3' 'event wifi_ap_prov_with_candidates_cb(ap_info {"ap_ssid":"home"' \
    'set_wifi_connection_error_code(error_code 2)' 'event provisioning_language_cb(req_id 1, type "language", value "fr-FR")'
agent_does_not_note common_interface

setup_with 2.2
agent_notes 'common_interface(request {"common_interface":4,"dev_name":"Washer"' 'send_ap_list(req_id 3'

setup_with 2.3
agent_notes 'common_interface(request {"ap_list_array":[{"ssid":"home"' '"frequency":2437'
agent_does_not_note 'send_ap_list(req_id'
