// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "median.hpp"
#include "previous_run.hpp"

#include <map>
#include <string>
#include <vector>

namespace kv::test {

/// Prints the table of a run, and compares it with the last run on the same machine. A row with an aim shows whether it
/// was met. The figure of a row is the last number of its result, which is a ratio if there is one.
class Report {
public:
    void section(const std::string &title);
    /// A result without an aim, for comparison.
    void row(const std::string &what, const std::string &result);
    void row(const std::string &what, const std::string &result, const std::string &aim, bool met);
    /// A line without a figure.
    void note(const std::string &text) const;
    /// A measurement that was not possible, with the reason.
    void not_measured(const std::string &what, const std::string &why);
    /// Prints the summary with every missed aim and every changed figure, and stores the figures.
    void close() const;

private:
    void print(const std::string &what, const std::string &result, const std::string &rest);

    PreviousRun previous_;
    std::string section_;
    std::map<std::string, double> figures_;
    int aims_ = 0;
    std::vector<std::string> missed_;
    std::vector<std::string> not_measured_;
};

std::string format(const char *format, ...) __attribute__((format(printf, 1, 2)));

} // namespace kv::test
