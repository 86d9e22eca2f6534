// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <string>

namespace kv::ctl {

/// How results are printed: for people, in colour on a terminal, or a line of JSON each.
class Output {
public:
    enum class Colour { plain, dim, bold, red, green, yellow, blue };

    /// Colours only on a terminal, and not with NO_COLOR.
    Output();

    bool json = false;

    std::string in(Colour colour, const std::string &text) const;
    /// Both forms of one result; only the wanted one is printed, at once.
    void line(const std::string &words, const Json &facts) const;
    /// In words only.
    void say(const std::string &words) const;

    bool terminal() const { return terminal_; }

private:
    bool terminal_;
    bool colours_;
};

/// 13:06:04.681418, local time.
std::string time_of_day(long long time_us);
/// The members of an object: name "x", mode 0.
std::string in_words(const Json &object);

} // namespace kv::ctl
