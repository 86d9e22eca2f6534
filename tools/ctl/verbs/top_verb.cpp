// SPDX-License-Identifier: Apache-2.0
#include "tools/ctl/agent/agent.hpp"
#include "tools/ctl/cli/verb.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/process/child.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <map>

namespace kv::ctl {

namespace {

struct Measured {
    std::vector<long long> durations_us{};
    int errors = 0;
    int lately = 0; // since the last turn
};

/// What was measured of a method, or of all together.
class Table {
public:
    void take(const Json &entry)
    {
        const long long at = entry["time_us"];
        first_us_ = first_us_ == 0 ? at : first_us_;
        last_us_ = std::max(last_us_, at);
        Measured &method = methods_[entry["method"].get<std::string>()];
        method.durations_us.push_back(entry.value("duration_us", 0LL));
        ++method.lately;
        const auto answer = entry.find("answer");
        const bool well = answer != entry.end() && answer->is_object() && answer->value("result", 0) == 0;
        method.errors += well ? 0 : 1;
    }

    /// Over that time; over all that was taken when it is 0.
    Json rows(double seconds)
    {
        const double span = seconds > 0 ? seconds : static_cast<double>(last_us_ - first_us_) / 1e6;
        Json list = Json::array();
        for (auto &[name, method] : methods_) {
            std::vector<long long> &sorted = method.durations_us;
            std::sort(sorted.begin(), sorted.end());
            list.push_back({{"method", name},
                            {"calls", sorted.size()},
                            {"per_second", span > 0 ? std::round(method.lately / span * 10) / 10 : 0.0},
                            {"median_us", at(sorted, 0.5)},
                            {"p99_us", at(sorted, 0.99)},
                            {"errors", method.errors}});
            method.lately = 0;
        }
        std::stable_sort(list.begin(), list.end(), [](const Json &one, const Json &other) {
            return one["calls"].get<std::size_t>() > other["calls"].get<std::size_t>();
        });
        return list;
    }

private:
    /// By nearest rank.
    static long long at(const std::vector<long long> &sorted, double part)
    {
        const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
        return sorted[std::max<std::size_t>(rank, 1) - 1];
    }

    std::map<std::string, Measured> methods_{};
    long long first_us_ = 0;
    long long last_us_ = 0;
};

std::string row(const std::string &method, const std::string &calls, const std::string &rate, const std::string &median,
                const std::string &p99, const std::string &errors)
{
    char text[256];
    std::snprintf(text, sizeof text, "%-44.64s %8s %10s %10s %10s %7s", method.c_str(), calls.c_str(), rate.c_str(),
                  median.c_str(), p99.c_str(), errors.c_str());
    return text;
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

std::function<int()> set_up_top(CLI::App &app, Context &context)
{
    struct Options {
        bool once = false;
        double interval = 1;
    };
    auto options = std::make_shared<Options>();
    app.add_flag("--once", options->once, "shows what is known, and ends");
    app.add_option("--interval", options->interval, "how often it is shown anew (1)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.05, 3600.0));
    return [&context, options] {
        const Output &out = context.out;
        const Agent agent;
        Table table;
        long long next = 1;
        const auto look = [&] {
            const Json list =
                agent.run("journal",
                          {{"since", next}, {"limit", Agent::entries_kept}, {"filter", {{"method", {{"any", true}}}}}});
            for (const Json &entry : list["entries"])
                table.take(entry);
            next = list["next"];
        };
        const auto show = [&](double seconds) {
            const Json rows = table.rows(seconds);
            const char *clear = out.terminal() && !options->once && !out.json ? "\033[H\033[J" : "";
            out.line(clear + table_of(out, rows), {{"methods", rows}});
        };
        look();
        show(0);
        if (options->once)
            return static_cast<int>(done);

        Loop loop;
        std::string why;
        std::function<void()> turn = [&] {
            try {
                look();
            } catch (const Failure &) {
                why = "the agent went away";
                return loop.quit();
            }
            show(options->interval);
            loop.after_ms(static_cast<unsigned>(options->interval * 1000), turn);
        };
        loop.after_ms(static_cast<unsigned>(options->interval * 1000), turn);
        loop.on_signal(SIGINT, [&] { loop.quit(); });
        loop.on_signal(SIGTERM, [&] { loop.quit(); });
        loop.run();
        if (!why.empty())
            throw Failure{failed, why};
        return static_cast<int>(done);
    };
}

} // namespace

const Verb top_verb{"top", "shows what applications call: how often, how long it takes, what fails",
                    "  korvanectl top\n"
                    "  korvanectl top --once --json | jq '.methods[] | select(.errors > 0)'\n"
                    "Times are those that the agent needed. It remembers the last 10,000 entries.",
                    set_up_top};

} // namespace kv::ctl
