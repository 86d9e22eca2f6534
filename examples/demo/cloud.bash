# SPDX-License-Identifier: Apache-2.0
# The washer after its setup: it lives in the cloud; sourced by run-demo.
# shellcheck shell=bash

lives_in_the_cloud() {
    act "The washer of the setup lives in the cloud, with agent $1"
    start_agent --agent-version "$1" --scenario "$here/washer/setup.json" --scenario "$here/washer/cloud.json"
    start_device washer --join-ms 50 --state "$stage/state"
    await_end_of_play
    await "$stage/device" 'cloud devices: 2: washer, dryer'
    kill -TERM "$device"
    end_device
    await "$stage/agent" 'agent stopped'
    scenario_passed
    device_says 'cloud account: signed up' 'cloud session: signed in' 'cloud session: lost, error -104' \
        'cloud session: back after' 'nick name: The one in the cellar (device 0)'
    grep -q '^nick name=The one in the cellar$' "$stage/state" || fail 'the washer did not keep its name'
    exits_with 0
    show_from 'finish'
}

lives_in_the_cloud 1.4
agent_notes 'signup_cloud(cloud_info {"region":"EU"'
curtain 'signed up, session lost and back, renamed'

lives_in_the_cloud 2.3
await "$stage/device" 'certificate: '
agent_notes 'common_interface(request {"region":"EU"' 'event create_hdr_certificate_cb(result 0'
device_says 'certificate: made' 'token: for https://cloud.korvane.example'
grep -q '^certificate=' "$stage/state" || fail 'the washer did not keep its certificate'
curtain 'signed up, session lost and back, renamed, with a certificate and a token of its own'
