// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <algorithm>
#include <cstdio>

namespace kv::ctl {

namespace {

std::string seconds_text(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f s", seconds);
    return text;
}

void print_indented(const char *title, const std::vector<std::string> &lines)
{
    if (lines.empty())
        return;
    std::printf("    %s\n", title);
    for (const std::string &line : lines)
        std::printf("      %s\n", printable(line).c_str());
}

/// A text in double quotes, as YAML and JSON write it.
std::string quoted(const std::string &text)
{
    return text_of(text);
}

void print_yaml_list(const char *name, const std::vector<std::string> &lines)
{
    if (lines.empty())
        return;
    std::printf("  %s:\n", name);
    for (const std::string &line : lines)
        std::printf("    - %s\n", quoted(line).c_str());
}

} // namespace

std::size_t SuiteResult::failed_count() const
{
    return static_cast<std::size_t>(
        std::count_if(cases.begin(), cases.end(), [](const CaseResult &one) { return !one.passed(); }));
}

Json json_of(const CaseResult &result)
{
    Json line{{"case", result.name()},
              {"scenario", result.scenario},
              {"variant", result.variant},
              {"passed", result.passed()},
              {"seconds", result.seconds}};
    if (!result.passed()) {
        line["problem"] = result.problem;
        if (!result.seed.empty())
            line["seed"] = parsed(result.seed);
        line["journal"] = result.journal;
        line["output"] = result.output;
    }
    return line;
}

Json json_of(const SuiteResult &suite)
{
    Json line{{"cases", suite.cases.size()},
              {"passed", suite.cases.size() - suite.failed_count()},
              {"failed", suite.failed_count()},
              {"seconds", suite.seconds},
              {"complete", suite.complete}};
    if (suite.shard)
        line["shard"] = suite.shard->text();
    return line;
}

void Printer::print(const CaseResult &result)
{
    clear_progress();
    ++printed_;
    switch (form_) {
    case ReportForm::text: print_text(result); break;
    case ReportForm::json: std::printf("%s\n", text_of(json_of(result)).c_str()); break;
    case ReportForm::tap: print_tap(result); break;
    }
    std::fflush(stdout);
}

void Printer::print_text(const CaseResult &result) const
{
    const std::string outcome =
        result.passed() ? out_.in(Output::Colour::green, "passed") : out_.in(Output::Colour::red, "FAILED");
    std::printf("%s  %s  %s\n", outcome.c_str(), result.name().c_str(),
                out_.in(Output::Colour::dim, seconds_text(result.seconds)).c_str());
    if (result.passed())
        return;
    std::printf("    %s\n", printable(result.problem).c_str());
    if (!result.seed.empty())
        std::printf("    the same order again: --seed %s\n", printable(result.seed).c_str());
    print_indented("the last entries of the journal:", result.journal);
    print_indented("the last lines of the application:", result.output);
}

void Printer::print_tap(const CaseResult &result) const
{
    if (printed_ == 1)
        std::printf("TAP version 13\n");
    // '#' begins a directive.
    std::string name = result.name();
    for (std::size_t at = 0; (at = name.find('#', at)) != std::string::npos; at += 2)
        name.insert(at, "\\");
    std::printf("%s %d - %s\n", result.passed() ? "ok" : "not ok", printed_, name.c_str());
    std::printf("  ---\n  duration_ms: %.0f\n", 1000 * result.seconds);
    if (!result.passed()) {
        std::printf("  message: %s\n", quoted(result.problem).c_str());
        if (!result.seed.empty())
            std::printf("  seed: %s\n", printable(result.seed).c_str());
        print_yaml_list("journal", result.journal);
        print_yaml_list("output", result.output);
    }
    std::printf("  ...\n");
}

void Printer::show_progress(const std::string &text)
{
    if (form_ != ReportForm::text || !out_.terminal())
        return;
    std::printf("\r\033[K%s", text.c_str());
    std::fflush(stdout);
    progress_shown_ = true;
}

void Printer::clear_progress()
{
    if (progress_shown_)
        std::printf("\r\033[K");
    progress_shown_ = false;
}

void Printer::finish(const SuiteResult &suite)
{
    clear_progress();
    const std::string counts = std::to_string(suite.cases.size()) + (suite.cases.size() == 1 ? " case, " : " cases, ") +
                               std::to_string(suite.failed_count()) + " failed, " + seconds_text(suite.seconds) +
                               (suite.shard ? ", shard " + suite.shard->text() : "");
    switch (form_) {
    case ReportForm::text:
        std::printf("%s%s\n", out_.in(suite.passed() ? Output::Colour::green : Output::Colour::red, counts).c_str(),
                    suite.complete ? "" : "; not every case has run");
        break;
    case ReportForm::json: std::printf("%s\n", text_of(json_of(suite)).c_str()); break;
    case ReportForm::tap:
        if (printed_ == 0)
            std::printf("TAP version 13\n");
        if (suite.complete)
            std::printf("1..%d\n", printed_);
        else
            std::printf("Bail out! Not every case has run\n");
        break;
    }
    std::fflush(stdout);
}

} // namespace kv::ctl
