# SPDX-License-Identifier: Apache-2.0
# The connection of the first device, with and without failures; sourced by run-demo.
# shellcheck shell=bash

# Runs a device that connects, starts, stops and ends.
runs_to_its_end() {
    start_device first-device
    end_device
    device_printed 'initialize: NONE' 'connected: NONE' 'start: NONE' 'get_device_id: NONE' 'stop: NONE'
    device_printed 'deinitialize: NONE'
    await "$dir/agent" '  disconnected'
    agent_logged '  connected' 'start(name "", mode 0, flags 0)  ->  result 0' 'stop()  ->  result 0'
    exited_with 0
    end_section "connected $(last_result_of connected), start $(last_result_of start), stop $(last_result_of stop)"
}

section 'A device starts and stops its service'
start_agent
agent_logged 'agent 2.3 ready'
runs_to_its_end

section 'The same with the oldest agent, 1.0, which does not know the method set_api_version'
start_agent --agent-version 1.0
runs_to_its_end
agent_did_not_log set_api_version

section 'The same with the newest agent, 2.3, which receives the API version'
start_agent --agent-version 2.3
runs_to_its_end
agent_logged 'set_api_version(major 2, minor 3, patch 3)  ->  result 0'

section 'No agent is installed'
start_device first-device
end_device
device_printed 'initialize: NOT_SUPPORTED'
exited_with 2
end_section "initialize $(last_result_of initialize)"

section 'The agent is killed during a call'
start_agent
command_agent fault start die
start_device first-device
end_device
device_printed 'connected: NONE' 'start: IO_ERROR' 'io error: the link to the agent broke during a call'
agent_logged '[fault: die]'
exited_with 3
end_section "start $(last_result_of start), then the notice of the broken link"

section 'The agent is updated from 1.6 to 2.3 while the device runs'
start_agent --agent-version 1.6
start_device first-device --stay
await "$dir/device" 'device id'
# The bus processes the device's subscription in the background, so an immediate announcement may be lost.
for ((tries = 0; tries < max_tries; tries++)); do
    command_agent update start
    grep -q 'Agent update is started' "$dir/library" && break
    sleep 0.02
done
command_agent update install
await "$dir/device" 'disconnected: SERVICE_UNAVAILABLE'
await "$dir/device" 'start: SERVICE_UNAVAILABLE'
command_agent update complete 2.3
await_count "$dir/device" 'device id' 2
kill -TERM "$device"
end_device
agent_logged 'update  start' 'update  install' 'update  complete'
device_printed 'connected: NONE' 'deinitialize: NONE' 'stop: NONE'
[[ $(grep -c 'start: NONE' "$dir/device") -eq 2 ]] || fail 'the service was not started twice'
[[ $(grep -o 'agent version \[[0-9.]*\]' "$dir/library" | uniq | tail -n 1) == 'agent version [2.3]' ]] ||
    fail 'the device did not connect to the new version'
exited_with 0
end_section "disconnected $(last_result_of disconnected), calls refused with SERVICE_UNAVAILABLE, then agent 2.3: \
connected $(last_result_of connected), start $(last_result_of start)"
