# SPDX-License-Identifier: Apache-2.0
# The washer in the cloud after its setup; sourced by run-demo.
# shellcheck shell=bash

lives_in_the_cloud() {
    section "After its setup, the washer lives in the cloud, with agent $1"
    start_agent --agent-version "$1" --scenario "$here/washer/setup.json" --scenario "$here/washer/cloud.json"
    start_device washer --join-ms 50 --state "$dir/state"
    await_scenario_end
    await "$dir/device" 'cloud devices: 2: washer, dryer'
    kill -TERM "$device"
    end_device
    await "$dir/agent" 'agent stopped'
    scenario_passed
    device_printed 'cloud account: signed up' 'cloud session: signed in' 'cloud session: lost, error -104' \
        'cloud session: back after' 'nick name: The one in the cellar (device 0)'
    grep -q '^nick name=The one in the cellar$' "$dir/state" || fail 'the washer did not store its name'
    exited_with 0
    show_from 'finish'
}

lives_in_the_cloud 1.4
agent_logged 'signup_cloud(cloud_info {"region":"EU"'
end_section 'signed up, session lost and restored, renamed'

lives_in_the_cloud 2.3
await "$dir/device" 'certificate: '
agent_logged 'common_interface(request {"region":"EU"' 'event create_hdr_certificate_cb(result 0'
device_printed 'certificate: made' 'token: for https://cloud.korvane.example'
grep -q '^certificate=' "$dir/state" || fail 'the washer did not store its certificate'
end_section 'signed up, session lost and restored, renamed, certificate and token received'
