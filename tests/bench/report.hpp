// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace bench {

/// The one table of a run. A row with an aim says whether it was met.
class Report {
public:
    void section(const std::string &title);
    /// A figure without an aim: a peer's, or one to look at.
    void row(const std::string &what, const std::string &result);
    void row(const std::string &what, const std::string &result, const std::string &aim, bool met);
    /// What could not be measured, and why.
    void not_measured(const std::string &what, const std::string &why);
    /// The verdict: every missed aim by name.
    void close() const;

private:
    std::string section_;
    int aims_ = 0;
    std::vector<std::string> missed_;
    std::vector<std::string> not_measured_;
};

std::string format(const char *format, ...) __attribute__((format(printf, 1, 2)));

double median(std::vector<double> values);
/// The median of the quotients of the same round: what disturbs a round disturbs both.
double median_ratio(const std::vector<double> &values, const std::vector<double> &base);

} // namespace bench
