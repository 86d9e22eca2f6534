// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kv::test {

struct Series {
    std::string title;
    std::vector<std::pair<double, double>> points = {};
};

/// A diagram with logarithmic axes.
struct Plot {
    std::string file; ///< its name, without a directory
    std::string title;
    std::string x;
    std::string y;
    std::vector<Series> series;
};

/// Writes the diagram as SVG into a directory and returns its path. Throws std::runtime_error if gnuplot fails.
std::string draw(const Plot &plot, const std::string &directory);

} // namespace kv::test
