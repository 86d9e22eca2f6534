// SPDX-License-Identifier: Apache-2.0
// Lines of text that control the virtual agent. Every line has one reply, at once or when the agent gives its wait up: an object
// with "ok", and with "error" exactly if it is false.

#include "fuzz_agent.hpp"
#include "fuzz_input.hpp"

using namespace kv::virtual_agent;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzAgent fuzzed;
    FuzzInput input{data, size};
    while (!input.at_end()) {
        int replies = 0;
        const auto waiting = carry_out_line(fuzzed.agent, input.line(), [&replies](const Json &reply) {
            const cJSON *ok = cJSON_GetObjectItemCaseSensitive(reply.get(), "ok");
            const cJSON *error = cJSON_GetObjectItemCaseSensitive(reply.get(), "error");
            must(cJSON_IsBool(ok) && static_cast<bool>(cJSON_IsFalse(ok)) == static_cast<bool>(cJSON_IsString(error)),
                 "a reply is not complete");
            must(FuzzAgent::is_json(reply.text()), "a reply is not JSON");
            ++replies;
        });
        must(replies == (waiting ? 0 : 1), "a line has another number of replies");
        FuzzAgent::run_ready_sources();
    }
    return 0;
}
