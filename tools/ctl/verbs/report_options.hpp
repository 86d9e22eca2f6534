// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/scenario/whole_file.hpp"
#include "tools/ctl/suite/report.hpp"

#include <optional>

namespace kv::ctl {

/// The options of verbs that report cases.
struct ReportOptions {
    std::string junit{};
    bool tap = false;
};

void add_report_options(CLI::App &app, ReportOptions &options);

/// Throws UsageError if the options ask for two forms.
ReportForm form_of(const Context &context, const ReportOptions &options);

/// The file of `--junit`, which is created before the first case runs.
class ReportFile {
public:
    /// Throws Failure if the file cannot be created.
    explicit ReportFile(const ReportOptions &options);

    /// Does nothing without `--junit`. Throws Failure.
    void write(const SuiteResult &result);

private:
    std::optional<WholeFile> file_{};
};

} // namespace kv::ctl
