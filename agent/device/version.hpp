// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The emulated agent version: one of the released ones, with any patch number.
class Version {
public:
    /// From "2.3" or "2.3.1". Throws std::invalid_argument, which lists the versions.
    static Version parse(const std::string &text);
    static Version newest() { return parse("2.3"); }
    /// All released versions, oldest first.
    static std::vector<std::string> all();

    /// 1000 x major + minor, as the interface description counts.
    int number() const { return number_; }
    const std::string &text() const { return text_; }

private:
    int number_ = 0;
    std::string text_;
};

/// "2.3" for 2003.
std::string version_text(int number);

} // namespace kv::virtual_agent
