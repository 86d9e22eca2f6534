// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::test {

/// Prints the table of a run. A row with an aim shows whether it was met.
class Report {
public:
    void section(const std::string &title);
    /// A result without an aim, for comparison.
    void row(const std::string &what, const std::string &result);
    void row(const std::string &what, const std::string &result, const std::string &aim, bool met);
    /// A measurement that was not possible, with the reason.
    void not_measured(const std::string &what, const std::string &why);
    /// Prints the summary with every missed aim.
    void close() const;

private:
    std::string section_;
    int aims_ = 0;
    std::vector<std::string> missed_;
    std::vector<std::string> not_measured_;
};

std::string format(const char *format, ...) __attribute__((format(printf, 1, 2)));

double median(std::vector<double> values);
/// The median of the ratios within each round: a disturbance of a round affects both values.
double median_ratio(const std::vector<double> &values, const std::vector<double> &base);

} // namespace kv::test
