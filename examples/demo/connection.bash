# SPDX-License-Identifier: Apache-2.0
# The first device and its connection, in good times and bad; sourced by run-demo.
# shellcheck shell=bash

# The session of a device that is served well.
served_well() {
    start_device first-device
    end_device
    device_says 'initialize: NONE' 'connected: NONE' 'start: NONE' 'get_device_id: NONE' 'stop: NONE'
    device_says 'deinitialize: NONE'
    await "$stage/agent" '  disconnected'
    agent_notes '  connected' 'start(name "", mode 0, flags 0)  ->  result 0' 'stop()  ->  result 0'
    exits_with 0
    curtain "connected $(last_result_of connected), start $(last_result_of start), stop $(last_result_of stop)"
}

act 'A device starts its service and stops it'
start_agent
agent_notes 'agent 2.3 ready'
served_well

act 'The same with the oldest agent, 1.0, which cannot be told the API version'
start_agent --agent-version 1.0
served_well
agent_does_not_note set_api_version

act 'The same with the newest agent, 2.3, which is told it'
start_agent --agent-version 2.3
served_well
agent_notes 'set_api_version(major 2, minor 3, patch 3)  ->  result 0'

act 'No agent is installed'
start_device first-device
end_device
device_says 'initialize: NOT_SUPPORTED'
exits_with 2
curtain "initialize $(last_result_of initialize)"

act 'The agent is killed during a call'
start_agent
steer fault start die
start_device first-device
end_device
device_says 'connected: NONE' 'start: IO_ERROR' 'io error: the link to the agent broke during a call'
agent_notes '[fault: die]'
exits_with 3
curtain "start $(last_result_of start), then the notice of the broken link"

act 'The agent is updated from 1.6 to 2.3 while the device runs'
start_agent --agent-version 1.6
start_device first-device --stay
await "$stage/device" 'device id'
# The bus learns in the background that the device listens: what is announced at once may come too early.
for ((tries = 0; tries < patience; tries++)); do
    steer update start
    grep -q 'Agent update is started' "$stage/library" && break
    sleep 0.02
done
steer update install
await "$stage/device" 'disconnected: SERVICE_UNAVAILABLE'
await "$stage/device" 'start: SERVICE_UNAVAILABLE'
steer update complete 2.3
await_count "$stage/device" 'device id' 2
kill -TERM "$device"
end_device
agent_notes 'update  start' 'update  install' 'update  complete'
device_says 'connected: NONE' 'deinitialize: NONE' 'stop: NONE'
[[ $(grep -c 'start: NONE' "$stage/device") -eq 2 ]] || fail 'the service was not started twice'
[[ $(grep -o 'agent version \[[0-9.]*\]' "$stage/library" | uniq | tail -n 1) == 'agent version [2.3]' ]] ||
    fail 'the device did not reach the new version'
exits_with 0
curtain "disconnected $(last_result_of disconnected), calls refused with SERVICE_UNAVAILABLE, then agent 2.3: \
connected $(last_result_of connected), start $(last_result_of start)"
