// SPDX-License-Identifier: Apache-2.0
#include "suite_run.hpp"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <utility>

namespace kv::ctl {

SuiteRun::SuiteRun(Printer &printer, std::vector<Case> cases, CaseProgram program, SuiteOptions options)
    : printer_(printer), cases_(std::move(cases)), program_(std::move(program)), options_(options)
{
}

SuiteResult SuiteRun::run()
{
    const auto begin = std::chrono::steady_clock::now();
    adopt_descendants();
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        loop_.on_signal(number, [this] {
            stop();
            if (running_.empty())
                loop_.quit();
        });
    fill();
    if (!running_.empty())
        loop_.run();
    end_descendants();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    result_.seconds = seconds.count();
    result_.complete = !stopped_;
    return std::move(result_);
}

void SuiteRun::fill()
{
    while (running_.size() < options_.jobs && start_next()) {
    }
    show_progress();
}

bool SuiteRun::start_next()
{
    if (next_ == cases_.size() && options_.endless) {
        next_ = 0;
        ++turn_;
    }
    if (stopped_ || next_ == cases_.size())
        return false;
    Case one = cases_[next_++];
    if (options_.endless)
        one.variant += "#" + std::to_string(turn_);
    // The callback needs the object to remove it, and runs only after start() has returned.
    auto slot = std::make_shared<const CaseRun *>(nullptr);
    running_.push_back(
        CaseRun::start(loop_, one, program_, [this, slot](const CaseResult &result) { on_end(*slot, result); }));
    *slot = running_.back().get();
    return true;
}

void SuiteRun::on_end(const CaseRun *run, const CaseResult &result)
{
    std::erase_if(running_, [run](const auto &one) { return one.get() == run; });
    if (!stopped_) { // otherwise this case was interrupted
        result_.cases.push_back(result);
        printer_.print(result);
        if (options_.until_fail && !result.passed())
            stop();
    }
    fill();
    if (running_.empty())
        loop_.quit();
}

void SuiteRun::stop()
{
    stopped_ = true;
    for (const auto &run : running_)
        run->interrupt();
}

void SuiteRun::show_progress() const
{
    if (running_.empty())
        return;
    std::string names;
    for (const auto &run : running_)
        names += (names.empty() ? "" : ", ") + run->name();
    constexpr std::size_t max_columns = 100; // a longer line would wrap, and could not be replaced
    std::string text = "[" + std::to_string(result_.cases.size()) +
                       (options_.endless ? "" : "/" + std::to_string(cases_.size())) + ", " +
                       std::to_string(result_.failed_count()) + " failed]  " + names;
    if (text.size() > max_columns)
        text = text.substr(0, max_columns - 3) + "...";
    printer_.show_progress(text);
}

} // namespace kv::ctl
