// SPDX-License-Identifier: Apache-2.0
// The longest cases are distributed first, each to the shard with the least work.
#include "shard.hpp"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace kv::ctl {

namespace {

constexpr double min_seconds = 0.001; // cases that took no time are distributed too

double mean_of(const Durations &durations)
{
    if (durations.empty())
        return 1;
    double sum = 0;
    for (const auto &[name, seconds] : durations)
        sum += seconds;
    return sum / static_cast<double>(durations.size());
}

std::optional<unsigned> whole_number(const std::string &text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional{number} : std::nullopt;
}

} // namespace

std::optional<Shard> Shard::parse(const std::string &text)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos)
        return std::nullopt;
    const auto index = whole_number(text.substr(0, slash));
    const auto count = whole_number(text.substr(slash + 1));
    if (!index || !count || *index < 1 || *index > *count)
        return std::nullopt;
    return Shard{*index, *count};
}

Durations durations_in(const SuiteResult &report)
{
    Durations durations;
    for (const CaseResult &result : report.cases)
        durations[result.name()] = result.seconds;
    return durations;
}

std::vector<Case> cases_of_shard(const std::vector<Case> &cases, const Shard &shard, const Durations &durations)
{
    const double mean = mean_of(durations);
    std::vector<double> seconds;
    for (const Case &one : cases) {
        const auto known = durations.find(one.name());
        seconds.push_back(std::max(known == durations.end() ? mean : known->second, min_seconds));
    }
    std::vector<std::size_t> longest_first(cases.size());
    std::iota(longest_first.begin(), longest_first.end(), std::size_t{0});
    std::sort(longest_first.begin(), longest_first.end(), [&](std::size_t one, std::size_t other) {
        if (seconds[one] != seconds[other])
            return seconds[one] > seconds[other];
        return cases[one].name() < cases[other].name();
    });

    std::vector<double> work(shard.count);
    std::vector<bool> is_own(cases.size());
    for (const std::size_t index : longest_first) {
        const auto least = std::min_element(work.begin(), work.end());
        *least += seconds[index];
        is_own[index] = least - work.begin() == static_cast<std::ptrdiff_t>(shard.index) - 1;
    }
    std::vector<Case> own;
    for (std::size_t i = 0; i < cases.size(); ++i)
        if (is_own[i])
            own.push_back(cases[i]);
    return own;
}

} // namespace kv::ctl
