// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <string>

namespace kv::ctl {

/// Prints results to stdout: text for people, in colour on a terminal, or one line of JSON for each result.
class Output {
public:
    enum class Colour { plain, dim, bold, red, green, yellow, blue };

    /// Uses colours only on a terminal, and not if NO_COLOR is set.
    Output();

    bool json = false;

    std::string in(Colour colour, const std::string &text) const;
    /// Prints one result at once, in the wanted one of its two forms.
    void line(const std::string &text, const Json &object) const;
    /// Prints a remark, unless JSON is wanted.
    void remark(const std::string &text) const;

    bool terminal() const { return terminal_; }

private:
    bool terminal_;
    bool colours_;
};

/// Local time as 13:06:04.681418.
std::string time_of_day(long long time_us);
/// The members of an object as text: name "x", mode 0.
std::string members_text(const Json &object);
/// Text of another process without control characters, which could change the terminal; newlines and tabs stay.
std::string printable(const std::string &text);

} // namespace kv::ctl
