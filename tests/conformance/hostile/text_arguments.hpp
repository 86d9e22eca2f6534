// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// Every text that an application hands to the library: one row for each argument, up to the agent.
namespace kv::test {

struct TextArgument {
    std::string function; // that takes it
    std::string argument;
    int minimum_version;
    int (*pass)(korvane_h handle, const char *text); // until it is sent
    int json_since = 0;    // the agent version from which on it travels inside a JSON document; 0 is never
    std::string key = "";  // its member there
    std::string line = ""; // the one log line that shows it, "@" being the text
    bool is_refused_when_empty = false;

    std::string line_with(const std::string &text) const
    {
        std::string whole = line;
        return whole.replace(whole.find('@'), 1, text);
    }
    std::string label() const { return function.substr(std::string("korvane_").size()) + "_" + argument; }
};

inline std::ostream &operator<<(std::ostream &out, const TextArgument &row)
{
    return out << row.label();
}

const std::vector<TextArgument> &text_arguments();

/// The document member as an unformatted document shows it.
std::string member(const std::string &key, const std::string &text);

/// Whether the bytes stand in the whole, anywhere.
bool contains(const Bytes &whole, const Bytes &part);
Bytes raw(std::string_view text);

/// "2.3" is 2003.
int version_number(const std::string &version);

} // namespace kv::test
