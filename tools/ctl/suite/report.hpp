// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/output.hpp"

#include <optional>
#include <string>
#include <vector>

namespace kv::ctl {

/// A part of a suite: number `index` of `count`, from 1.
struct Shard {
    unsigned index = 1;
    unsigned count = 1;

    /// "2/4"
    std::string text() const { return std::to_string(index) + "/" + std::to_string(count); }
    /// Returns nullopt if the text is not such a part.
    static std::optional<Shard> parse(const std::string &text);
};

/// The outcome of one case.
struct CaseResult {
    std::string scenario{};
    std::string variant{};
    double seconds = 0;
    std::string problem{};              // empty if the case passed
    std::vector<std::string> journal{}; // the last entries of the agent's journal, as text
    std::vector<std::string> output{};  // the last lines of the application
    std::string seed{};                 // of the random orders of a case that failed; empty if there are none

    std::string name() const { return scenario + "@" + variant; }
    bool passed() const { return problem.empty(); }
};

struct SuiteResult {
    std::vector<CaseResult> cases{};
    double seconds = 0;
    std::optional<Shard> shard{};
    bool complete = false; // every case has run

    std::size_t failed_count() const;
    bool passed() const { return complete && failed_count() == 0; }
};

/// The JSON line of a case and the last one, of the whole suite.
Json json_of(const CaseResult &result);
Json json_of(const SuiteResult &suite);

/// The same as JUnit XML.
std::string junit_of(const SuiteResult &suite);

/// Reads a report that `--json` or `--junit` wrote. Throws UsageError if the file is neither.
SuiteResult read_report(const std::string &path);

/// The form in which results are printed.
enum class ReportForm { text, json, tap };

/// Prints results, each when its case has ended.
class Printer {
public:
    Printer(const Output &out, ReportForm form) : out_(out), form_(form) {}

    void print(const CaseResult &result);
    /// Prints the line that shows the progress, on a terminal only. The next result replaces it.
    void show_progress(const std::string &text);
    void finish(const SuiteResult &suite);

private:
    void print_text(const CaseResult &result) const;
    void print_tap(const CaseResult &result) const;
    void clear_progress();

    const Output &out_;
    ReportForm form_;
    int printed_ = 0;
    bool progress_shown_ = false;
};

} // namespace kv::ctl
