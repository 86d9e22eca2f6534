// SPDX-License-Identifier: Apache-2.0
// Documents as journal and state show them. The first byte selects a described document; the rest is its text. What is shown
// must be JSON, and a secret that the target adds to the text must not appear in it.

#include "agent/interface/show.hpp"
#include "fuzz_input.hpp"

namespace {

using namespace kv;

constexpr const char *secret = "pl4nted-5ecret";

/// The text with a member that is a secret of the document, at its end.
std::string with_secret(const std::string &text, const char *member)
{
    const std::size_t end = text.rfind('}');
    const std::size_t begin = text.find('{');
    if (end == std::string::npos || begin == std::string::npos || begin >= end)
        return text;
    const bool is_empty = text.find_first_not_of(" \t\r\n", begin + 1) == end;
    return text.substr(0, end) + (is_empty ? "\"" : ",\"") + member + "\":\"" + secret + "\"" + text.substr(end);
}

template <class Documents>
void show(const Documents &documents, const master::Document &one, const std::string &text)
{
    const auto check = [&documents](const std::string &document) {
        const std::string shown = virtual_agent::Shown::document(documents, document.c_str()).text();
        virtual_agent::Json::parse(shown);
        must(document.find(secret) == std::string::npos || shown.find(secret) == std::string::npos,
             "a secret is shown");
    };
    if (text.find(secret) != std::string::npos)
        return; // the input has it where it is none
    check(text);
    for (int i = 0; i < one.count; ++i)
        if (one.members[i].secret)
            check(with_secret(text, one.members[i].key));
}

constexpr std::size_t document_count = std::size(master::documents::all);

void show(std::size_t kind, const std::string &text)
{
    if (kind < document_count)
        show(*master::documents::all[kind], *master::documents::all[kind], text);
    else
        show(master::commands::all, *master::commands::all[kind - document_count], text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzInput input{data, size};
    const std::size_t kind = input.below(document_count + std::size(master::commands::all));
    show(kind, input.rest());
    return 0;
}
