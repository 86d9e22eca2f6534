// SPDX-License-Identifier: Apache-2.0
#include "suggestion.hpp"

#include <algorithm>
#include <numeric>

namespace kv::ctl {

namespace {

/// The number of letters to insert, remove or replace to turn one text into the other.
std::size_t distance(const std::string &from, const std::string &to)
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

} // namespace

std::string suggestion(const std::string &mistyped, const std::vector<std::string> &names)
{
    const auto nearest = std::min_element(names.begin(), names.end(), [&](const auto &one, const auto &other) {
        return distance(mistyped, one) < distance(mistyped, other);
    });
    if (nearest == names.end() || distance(mistyped, *nearest) > 1 + mistyped.size() / 3)
        return "";
    return "; did you mean '" + *nearest + "'?";
}

} // namespace kv::ctl
