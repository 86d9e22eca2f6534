// SPDX-License-Identifier: Apache-2.0
#pragma once

// For the programs; the library must not need a C++ runtime and does not include this.

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

namespace kv {

/// The number of letters to insert, remove or replace to turn one text into the other.
inline std::size_t edit_distance(const std::string &from, const std::string &to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// Returns "; did you mean 'NAME'?" for the name that is most similar to a mistyped one, or "" if none is similar.
inline std::string suggestion(const std::string &mistyped, const std::vector<std::string> &names)
{
    const auto nearest = std::min_element(names.begin(), names.end(), [&](const auto &one, const auto &other) {
        return edit_distance(mistyped, one) < edit_distance(mistyped, other);
    });
    if (nearest == names.end())
        return "";
    // A name with another first letter and half of the letters different is another word: "emit" is not a mistyped "init".
    const std::size_t distance = edit_distance(mistyped, *nearest);
    const bool is_another_word = mistyped.substr(0, 1) != nearest->substr(0, 1) && 2 * distance >= mistyped.size();
    if (distance > 1 + mistyped.size() / 3 || is_another_word)
        return "";
    return "; did you mean '" + *nearest + "'?";
}

} // namespace kv
