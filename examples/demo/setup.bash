# SPDX-License-Identifier: Apache-2.0
# A complete first setup of the washer by the phone; sourced by run-demo.
# shellcheck shell=bash

# Provisions a washer with a mistaken PIN, a wrong password and a network that is gone.
setup_with() {
    section "A phone provisions a washer with agent $1"
    start_agent --agent-version "$1" --scenario "$here/washer/setup.json"
    start_device washer --join-ms 50 --state "$dir/state"
    await "$dir/device" 'washer: ready'
    await_scenario_end
    await "$dir/device" 'setup status: 4'
    kill -TERM "$device"
    end_device
    await "$dir/agent" 'agent stopped'
    scenario_passed
    device_printed 'display: PIN 20260417' 'display: dark' 'country: FR' 'join: failed: the password is wrong' \
        'join: failed: there is no such network' 'join: joined home' 'soft access point: stopped' 'setup status: 4' 'stop: NONE'
    grep -q '^language=fr-FR$' "$dir/state" || fail 'the washer did not store its language'
    exited_with 0
    show_from 'start(name'
    end_section "a wrong PIN, a wrong password, a network that is gone, then joined: $(last_result_of join)"
}

# The versions differ in records or documents, in commands of the generic method, and in methods that old agents lack.
setup_with 1.0
agent_logged 'send_ap_list(req_id 1' 'event wifi_ap_provisioning_cb(ap_info {"ssid":"home"'
agent_did_not_log set_wifi_connection_error_code

setup_with 1.2
agent_logged 'send_ap_list(req_id 1' 'event wifi_ap_provisioning_cb(ap_info {"ssid":"home"' 'ultrasound_pin_generate_cb'
agent_did_not_log set_wifi_connection_error_code

setup_with 1.3
agent_logged 'send_ap_list(req_id 3' 'event wifi_ap_prov_with_candidates_cb(ap_info {"ap_ssid":"home"' \
    'set_wifi_connection_error_code(error_code 2)' 'event provisioning_language_cb(req_id 1, type "language", value "fr-FR")'
agent_did_not_log common_interface

setup_with 2.2
agent_logged 'common_interface(request {"common_interface":4,"dev_name":"Washer"' 'send_ap_list(req_id 3'

setup_with 2.3
agent_logged 'common_interface(request {"ap_list_array":[{"ssid":"home"' '"frequency":2437'
agent_did_not_log 'send_ap_list(req_id'
