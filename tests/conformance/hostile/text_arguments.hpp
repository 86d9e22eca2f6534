// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

/// Every text argument of the library's functions, one row each.
namespace kv::test {

struct TextArgument {
    std::string function; // the function with the argument
    std::string argument;
    int minimum_version;
    int (*pass)(korvane_h handle, const char *text); // makes the calls that send the text
    int json_since = 0;    // the lowest agent version that receives it in a JSON document; 0 if none does
    std::string key = "";  // its member in the document
    std::string line = ""; // the only log line that shows it, with "@" for the text
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

/// A member of an unformatted document.
std::string member(const std::string &key, const std::string &text);

/// Whether `whole` contains the bytes `part`.
bool contains(const Bytes &whole, const Bytes &part);
Bytes raw(std::string_view text);

/// Converts "2.3" to 2003.
int version_number(const std::string &version);

} // namespace kv::test
