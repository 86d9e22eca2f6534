// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace kv::test {

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// The median of the ratios within each round: a disturbance of a round affects both values.
inline double median_ratio(const std::vector<double> &values, const std::vector<double> &base)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < values.size(); ++i)
        ratios.push_back(values[i] / base[i]);
    return median(std::move(ratios));
}

} // namespace kv::test
