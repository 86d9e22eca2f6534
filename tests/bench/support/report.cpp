// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace kv::test {

void Report::section(const std::string &title)
{
    section_ = title;
    printf("\n%s\n", title.c_str());
}

void Report::row(const std::string &what, const std::string &result)
{
    printf("  %-44s %-28s\n", what.c_str(), result.c_str());
    fflush(stdout);
}

void Report::row(const std::string &what, const std::string &result, const std::string &aim, bool met)
{
    printf("  %-44s %-28s aim %-22s %s\n", what.c_str(), result.c_str(), aim.c_str(), met ? "met" : "MISSED");
    fflush(stdout);
    ++aims_;
    if (!met)
        missed_.push_back(section_ + ": " + what + ": " + result + ", aim " + aim);
}

void Report::not_measured(const std::string &what, const std::string &why)
{
    row(what, "not measured: " + why);
    not_measured_.push_back(section_ + ": " + what + ": " + why);
}

void Report::close() const
{
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

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double median_ratio(const std::vector<double> &values, const std::vector<double> &base)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < values.size(); ++i)
        ratios.push_back(values[i] / base[i]);
    return median(std::move(ratios));
}

} // namespace kv::test
