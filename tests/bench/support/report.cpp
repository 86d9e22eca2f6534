// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace kv::test {

namespace {

/// The last number of a result such as " 3.61 us  1.75 x bare".
std::optional<double> last_number(const std::string &result)
{
    std::optional<double> last;
    for (const char *at = result.c_str(); *at != '\0';) {
        char *end = nullptr;
        const double number = isdigit(static_cast<unsigned char>(*at)) ? strtod(at, &end) : 0;
        last = end ? number : last;
        at = end ? end : at + 1;
    }
    return last;
}

void print_changes(const PreviousRun &previous, const std::map<std::string, double> &figures)
{
    constexpr double least_change = 0.1;
    if (previous.date().empty())
        return;
    printf("\nChanged by more than %.0f %% since the last run on this machine, %s\n", least_change * 100,
           previous.date().c_str());
    bool any = false;
    for (const auto &[row, now] : figures) {
        const double before = previous.figure(row).value_or(now);
        if (std::abs(now - before) <= least_change * std::abs(before))
            continue;
        any = true;
        printf("  %s: %.2f, was %.2f\n", row.c_str(), now, before);
    }
    if (!any)
        puts("  nothing");
}

} // namespace

void Report::section(const std::string &title)
{
    section_ = title;
    printf("\n%s\n", title.c_str());
}

void Report::print(const std::string &what, const std::string &result, const std::string &rest)
{
    printf("  %-44s %-28s %s\n", what.c_str(), result.c_str(), rest.c_str());
    fflush(stdout);
}

void Report::row(const std::string &what, const std::string &result)
{
    print(what, result, "");
    if (const auto figure = last_number(result))
        figures_[section_ + ": " + what] = *figure;
}

void Report::row(const std::string &what, const std::string &result, const std::string &aim, bool met)
{
    print(what, result, format("aim %-22s %s", aim.c_str(), met ? "met" : "MISSED"));
    if (const auto figure = last_number(result))
        figures_[section_ + ": " + what] = *figure;
    ++aims_;
    if (!met)
        missed_.push_back(section_ + ": " + what + ": " + result + ", aim " + aim);
}

void Report::note(const std::string &text) const
{
    printf("  %s\n", text.c_str());
}

void Report::not_measured(const std::string &what, const std::string &why)
{
    print(what, "not measured: " + why, "");
    not_measured_.push_back(section_ + ": " + what + ": " + why);
}

void Report::close() const
{
    print_changes(previous_, figures_);
    previous_.store(figures_);
    printf("\n%d aims, %zu met, %zu missed, %zu not measured\n", aims_ + static_cast<int>(not_measured_.size()),
           static_cast<std::size_t>(aims_) - missed_.size(), missed_.size(), not_measured_.size());
    for (const auto &line : missed_)
        printf("  missed: %s\n", line.c_str());
    for (const auto &line : not_measured_)
        printf("  not measured: %s\n", line.c_str());
}

std::string format(const char *format, ...)
{
    char text[256];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    return text;
}

} // namespace kv::test
