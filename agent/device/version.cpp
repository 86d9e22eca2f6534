// SPDX-License-Identifier: Apache-2.0
#include "version.hpp"

#include <array>
#include <stdexcept>
#include <string_view>

namespace kv::virtual_agent {

namespace {

constexpr std::array<std::string_view, 11> versions = {"1.0", "1.1", "1.2", "1.3", "1.4", "1.5",
                                                       "1.6", "2.0", "2.1", "2.2", "2.3"};

/// Whether the rest of a version is empty, or a dot and a patch number.
bool is_patch(std::string_view rest)
{
    if (rest.empty())
        return true;
    constexpr std::size_t max_length = 10;
    return rest.size() > 1 && rest.size() <= max_length && rest[0] == '.' &&
           rest.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

} // namespace

std::vector<std::string> Version::all()
{
    return {versions.begin(), versions.end()};
}

Version Version::parse(const std::string &text)
{
    for (std::string_view known : versions) {
        if (text.compare(0, known.size(), known) != 0 || !is_patch(std::string_view{text}.substr(known.size())))
            continue;
        Version version;
        version.number_ = 1000 * (known[0] - '0') + (known[2] - '0');
        version.text_ = text;
        return version;
    }
    std::string list;
    for (std::string_view known : versions)
        list.append(list.empty() ? "" : ", ").append(known);
    throw std::invalid_argument{"there is no agent version '" + text + "'; it is one of " + list +
                                ", optionally with a patch number"};
}

std::string version_text(int number)
{
    return std::to_string(number / 1000) + "." + std::to_string(number % 1000);
}

} // namespace kv::virtual_agent
