// SPDX-License-Identifier: Apache-2.0
#include "report_options.hpp"

#include "tools/ctl/output/failure.hpp"

#include <CLI/CLI.hpp>

namespace kv::ctl {

void add_report_options(CLI::App &app, ReportOptions &options)
{
    app.add_option("--junit", options.junit, "Write a report as JUnit XML")->type_name("FILE");
    app.add_flag("--tap", options.tap, "Print results in the Test Anything Protocol");
}

ReportForm form_of(const Context &context, const ReportOptions &options)
{
    if (context.out.json && options.tap)
        throw UsageError{"choose --json or --tap"};
    if (context.out.json)
        return ReportForm::json;
    return options.tap ? ReportForm::tap : ReportForm::text;
}

ReportFile::ReportFile(const ReportOptions &options)
{
    if (!options.junit.empty())
        file_.emplace(options.junit, 0666, "; the report was not written");
}

void ReportFile::write(const SuiteResult &result)
{
    if (file_)
        file_->write(junit_of(result));
}

} // namespace kv::ctl
