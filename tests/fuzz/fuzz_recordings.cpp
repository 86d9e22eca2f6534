// SPDX-License-Identifier: Apache-2.0
// The bytes of the two links of a connection as korvanectl records them. The first byte says how many bytes arrive at once; then
// follow pieces: a byte with the link and the end from which they come, and a short text. The recording must not depend on how
// the bytes arrive, and is always a scenario in JSON.

#include "fuzz_input.hpp"
#include "tools/ctl/relay/link_reader.hpp"
#include "tools/ctl/scenario/scenario_writer.hpp"

namespace {

using namespace kv::ctl;

std::string recorded(FuzzInput input, std::size_t piece)
{
    std::size_t warnings = 0;
    Traffic traffic{[&warnings](const std::string &) { ++warnings; }};
    LinkReader links[] = {{1, traffic}, {2, traffic}};
    while (!input.at_end()) {
        const unsigned from = input.byte();
        const std::string bytes = input.text();
        for (std::size_t at = 0; at < bytes.size(); at += piece)
            links[from & 1].take((from & 2) != 0 ? agent : application, bytes.data() + at,
                                 std::min(piece, bytes.size() - at));
        if ((from & 4) != 0)
            links[from & 1].ended_by_agent();
    }
    std::vector<Json> entries = traffic.entries();
    for (Json &entry : entries)
        entry.erase("time_us");
    const RecordedScenario scenario = scenario_from(entries, "", Recorded::traffic);
    must(!parsed(scenario.text).is_discarded(), "a recording is not JSON");
    return scenario.text + std::to_string(warnings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    const std::size_t piece = 1 + input.byte();
    must(recorded(input, piece) == recorded(input, 256), "the recording depends on the pieces");
    return 0;
}
