// SPDX-License-Identifier: Apache-2.0
// Snapshots of the virtual agent's state. What can be restored must be saved and restored again without a change, and can be
// shown.

#include "agent/device/snapshot.hpp"
#include "fuzz_agent.hpp"
#include "fuzz_input.hpp"

using namespace kv::virtual_agent;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    FuzzAgent fuzzed;
    try {
        restore(fuzzed.state, Json::parse(input.rest()).get());
    } catch (const std::invalid_argument &) {
        return 0;
    }
    const Json saved = snapshot_of(fuzzed.state);
    State again;
    again.version = fuzzed.state.version;
    restore(again, saved.get());
    must(snapshot_of(again).text() == saved.text(), "a snapshot changes when it is restored");
    fuzzed.cloud.apply_state();
    must(FuzzAgent::is_json(view_of(fuzzed.agent).text()), "the state is not JSON");
    FuzzAgent::run_ready_sources();
    return 0;
}
