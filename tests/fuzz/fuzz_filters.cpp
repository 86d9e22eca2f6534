// SPDX-License-Identifier: Apache-2.0
// Filters of the journal, expectations and paths into the state. The input has a filter, a journal entry and a path, one a line.
// A difference has words, and every value matches the condition that it is present.

#include "agent/json/json.hpp"
#include "agent/json/matching.hpp"
#include "fuzz_input.hpp"

#include <stdexcept>

using namespace kv::virtual_agent;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    const std::string filter_text = input.line();
    const std::string entry_text = input.line();
    const std::string path = input.line();
    try {
        const Json filter = Json::parse(filter_text);
        const Json entry = Json::parse(entry_text);
        const auto found = difference(filter.get(), entry.get(), "entry");
        must(!found || !found->empty(), "a difference has no words");
        must(agreement(filter.get(), entry.get()) >= 0, "an agreement is negative");
        Json count;
        find_path(entry.get(), path, count);
        const Json any = Json::parse(R"({"any":true})");
        must(!difference(any.get(), entry.get(), ""), "a value is not present");
    } catch (const std::invalid_argument &) {
        return 0;
    }
    return 0;
}
