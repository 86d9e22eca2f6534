// SPDX-License-Identifier: Apache-2.0
#include "verbs.hpp"

#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/loop.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <map>

namespace kv::ctl {

namespace {

struct MethodStatistics {
    std::vector<long long> durations_us{};
    int errors = 0;
    int recent_calls = 0; // since the last table
};

/// Statistics of the requests in the agent's journal.
class Statistics {
public:
    void take(const Json &entry)
    {
        const long long time_us = number_in(entry, "time_us", 0);
        first_us_ = first_us_ == 0 ? time_us : first_us_;
        last_us_ = std::max(last_us_, time_us);
        MethodStatistics &method = methods_[text_in(entry, "method")];
        method.durations_us.push_back(number_in(entry, "duration_us", 0));
        ++method.recent_calls;
        const Json &reply = member_of(entry, "answer");
        const bool passed = reply.is_object() && number_in(reply, "result", 0) == 0;
        method.errors += passed ? 0 : 1;
    }

    /// One row for each method, most calls first. Rates are over `seconds`; 0 means the time of all entries.
    Json rows(double seconds)
    {
        const double span = seconds > 0 ? seconds : static_cast<double>(last_us_ - first_us_) / 1e6;
        Json list = Json::array();
        for (auto &[name, method] : methods_) {
            std::vector<long long> &sorted = method.durations_us;
            std::sort(sorted.begin(), sorted.end());
            list.push_back({{"method", name},
                            {"calls", sorted.size()},
                            {"per_second", span > 0 ? std::round(method.recent_calls / span * 10) / 10 : 0.0},
                            {"median_us", percentile(sorted, 0.5)},
                            {"p99_us", percentile(sorted, 0.99)},
                            {"errors", method.errors}});
            method.recent_calls = 0;
        }
        std::stable_sort(list.begin(), list.end(), [](const Json &one, const Json &other) {
            return one["calls"].get<std::size_t>() > other["calls"].get<std::size_t>();
        });
        return list;
    }

private:
    /// By the nearest-rank method.
    static long long percentile(const std::vector<long long> &sorted, double part)
    {
        const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
        return sorted[std::max<std::size_t>(rank, 1) - 1];
    }

    std::map<std::string, MethodStatistics> methods_{};
    long long first_us_ = 0;
    long long last_us_ = 0;
};

std::string row(const std::string &method, const std::string &calls, const std::string &rate, const std::string &median,
                const std::string &p99, const std::string &errors)
{
    char text[256];
    std::snprintf(text, sizeof text, "%-44.64s %8s %10s %10s %10s %7s", method.c_str(), calls.c_str(), rate.c_str(),
                  median.c_str(), p99.c_str(), errors.c_str());
    return printable(text);
}

std::string table_of(const Output &out, const Json &rows)
{
    std::string text =
        out.in(Output::Colour::bold, row("METHOD", "CALLS", "PER SECOND", "MEDIAN us", "P99 us", "ERRORS"));
    for (const Json &one : rows) {
        const std::string line = row(one["method"], text_of(one["calls"]), text_of(one["per_second"]),
                                     text_of(one["median_us"]), text_of(one["p99_us"]), text_of(one["errors"]));
        text += "\n" + out.in(one["errors"] == 0 ? Output::Colour::plain : Output::Colour::red, line);
    }
    return text;
}

struct TopOptions {
    bool once = false;
    double interval_s = 1;
};

/// The table, printed once or again after each interval.
class Top {
public:
    Top(const Output &out, const TopOptions &options) : out_(out), options_(options) {}

    int run()
    {
        read_entries();
        print(0);
        if (options_.once)
            return done;
        schedule();
        loop_.on_signal(SIGINT, [this] { loop_.quit(); });
        loop_.on_signal(SIGTERM, [this] { loop_.quit(); });
        loop_.run();
        return done;
    }

private:
    void read_entries()
    {
        const JournalPage page = agent_.journal(next_, {{"method", {{"any", true}}}});
        for (const Json &entry : page.entries)
            statistics_.take(entry);
        next_ = page.next;
    }

    void print(double seconds)
    {
        const Json rows = statistics_.rows(seconds);
        const char *clear = out_.terminal() && !options_.once && !out_.json ? "\033[H\033[J" : "";
        out_.line(clear + table_of(out_, rows), {{"methods", rows}});
    }

    void schedule()
    {
        loop_.after_ms(static_cast<unsigned>(options_.interval_s * 1000), [this] { refresh(); });
    }

    void refresh()
    {
        try {
            read_entries();
        } catch (const Failure &problem) {
            throw Failure{failed, problem.status == no_agent ? std::string{"the agent ended: "} + problem.what()
                                                             : problem.what()};
        }
        print(options_.interval_s);
        schedule();
    }

    const Output &out_;
    TopOptions options_;
    Agent agent_{};
    Statistics statistics_{};
    long long next_ = 1;
    Loop loop_{};
};

std::function<int()> set_up_top(CLI::App &app, Context &context)
{
    auto options = std::make_shared<TopOptions>();
    app.add_flag("--once", options->once, "Print the table once and end");
    app.add_option("--interval", options->interval_s, "Time between two tables (default: 1)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.05, 3600.0));
    return [&context, options] { return Top{context.out, *options}.run(); };
}

} // namespace

const Verb top_verb{
    .name = "top",
    .help = "Print the methods that applications call, with the number of calls, their duration and failures",
    .usage = "",
    .examples = "  korvanectl top\n"
                "  korvanectl top --once --json | jq '.methods[] | select(.errors > 0)'\n"
                "Times are measured in the agent. Its journal keeps the last 10,000 entries.",
    .set_up = set_up_top,
};

} // namespace kv::ctl
