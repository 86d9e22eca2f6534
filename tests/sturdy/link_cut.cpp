// SPDX-License-Identifier: Apache-2.0
// The links of a connection are cut after every byte of a setup. Every call then returns, and the application is notified.
#include "e2e/fixtures/application.hpp"
#include "relay.hpp"
#include "sturdy.hpp"

#include <cstdlib>
#include <filesystem>

namespace kv::sturdy {

namespace {

using test::Application;
using test::run_main_loop_until;

/// A runtime directory whose socket is the relay's.
class RelayedAgent {
public:
    RelayedAgent()
    {
        std::filesystem::create_directory(directory());
        std::filesystem::permissions(directory(), std::filesystem::perms::owner_all);
        const std::string socket = "org.korvane.agent.kv_master.sock";
        relay.emplace(directory() / socket, home.runtime() / socket);
        ::setenv("KORVANE_RUNTIME_DIR", directory().c_str(), 1);
    }

    test::AgentHome home;
    test::AgentProcess agent{home};
    std::optional<Relay> relay{};

private:
    std::filesystem::path directory() const { return home.root() / "relay"; }
};

constexpr auto ignore = [](auto...) {};

using Call = int (*)(korvane_h handle);
constexpr Call setup[] = {
    [](korvane_h h) { return korvane_set_status_changed_cb(h, ignore, nullptr); },
    [](korvane_h h) { return korvane_set_pin_cb(h, ignore, ignore, nullptr); },
    [](korvane_h h) { return korvane_set_wifi_ap_provisioning_cb(h, ignore, nullptr); },
    [](korvane_h h) { return korvane_set_cloud_device_list_cb(h, ignore, nullptr); },
    [](korvane_h h) { return korvane_set_sso_list(h, "a list"); },
    call_agent,
    [](korvane_h h) { return korvane_set_user_confirm_cb(h, ignore, nullptr); },
    [](korvane_h h) { return korvane_set_reset_confirm_cb(h, ignore, nullptr); },
    [](korvane_h h) { return korvane_unset_cloud_device_list_cb(h); },
    [](korvane_h h) { return korvane_stop(h); },
};

/// A setup through the relay, from the connection to the end.
class Setup {
public:
    explicit Setup(Relay &relay) : relay_(relay) {}

    /// Returns whether nothing failed.
    bool run()
    {
        const bool whole = connect() && start() && call_all();
        if (!whole)
            note_end();
        application_.deinitialize();
        return whole;
    }

    bool hangs() const { return slowest_ > hang; }
    /// From the cut to the end of the call, or to the notice, that showed it first.
    std::optional<Clock::duration> time_to_result() const { return time_to_result_; }

private:
    bool connect()
    {
        timed([this] { return application_.initialize() == KORVANE_ERROR_NONE; });
        timed([this] { return run_main_loop_until([this] { return !application_.changes.empty(); }, 4 * hang); });
        return !application_.changes.empty() && application_.changes.back() == test::connected;
    }

    bool start()
    {
        const auto is_over = [this] { return !application_.start_results.empty() || application_.changes.size() > 1; };
        return timed([this] { return application_.start_async() == KORVANE_ERROR_NONE; }) &&
               timed([&] { return run_main_loop_until(is_over, 4 * hang); }) && !application_.start_results.empty();
    }

    bool call_all()
    {
        for (const Call call : setup)
            if (!timed([&] { return call(application_.handle) == KORVANE_ERROR_NONE; }))
                return false;
        // A cut after the last byte is noticed by the main loop only.
        return relay_.happened_ns() == 0;
    }

    void note_end()
    {
        if (const std::int64_t cut = relay_.happened_ns(); cut != 0 && !time_to_result_)
            time_to_result_ = Clock::now().time_since_epoch() - std::chrono::nanoseconds{cut};
        // The application is notified, once.
        timed([this] {
            return run_main_loop_until([this] { return !(application_.changes.back() == test::connected); }, 4 * hang);
        });
    }

    template <class Step>
    bool timed(Step step)
    {
        const auto begin = Clock::now();
        const bool result = step();
        slowest_ = std::max(slowest_, Clock::now() - begin);
        return result;
    }

    Relay &relay_;
    Application application_;
    Clock::duration slowest_{};
    std::optional<Clock::duration> time_to_result_{};
};

} // namespace

Outcome cut_links(Form form)
{
    RelayedAgent agent;
    Relay &relay = *agent.relay;
    Outcome outcome;
    relay.begin(Fault::none);
    if (!Setup{relay}.run())
        outcome.failures.push_back("the setup fails without a cut");
    std::int64_t sizes[link_count][direction_count];
    for (std::size_t link = 0; link < link_count; ++link)
        for (const std::size_t direction : {to_agent, to_application})
            sizes[link][direction] = relay.passed(link, direction);

    Times times;
    int cuts = 0;
    int hangs = 0;
    const int rounds = form == Form::brief ? 1 : 20;
    for (int round = 0; round < rounds; ++round)
        for (std::size_t place = 0; place < link_count * direction_count; ++place) {
            const std::size_t link = place / direction_count;
            const std::size_t direction = place % direction_count;
            for (std::int64_t at = 0; at <= sizes[link][direction]; ++at) {
                relay.begin(Fault::cut, link, direction, at);
                Setup run{relay};
                run.run();
                if (relay.happened_ns() == 0)
                    continue; // the setup needed fewer bytes
                ++cuts;
                if (const auto time = run.time_to_result())
                    times.add(*time);
                if (run.hangs()) {
                    ++hangs;
                    outcome.failures.push_back(format("a hang after byte %ld of link %zu, direction %zu",
                                                      static_cast<long>(at), link, direction));
                }
            }
        }
    relay.begin(Fault::none);
    if (!Setup{relay}.run())
        outcome.failures.push_back("the agent does not serve a setup after the cuts");
    outcome.line = format("%d cuts, %d hangs, median %.1f ms, slowest %.1f ms", cuts, hangs, times.quantile(0.5),
                          times.quantile(1));
    if (cuts < (rounds * 400))
        outcome.failures.push_back("too few cuts to show anything");
    if (form == Form::extended && times.quantile(0.5) > 10)
        outcome.failures.push_back("the median exceeds 10 ms");
    return outcome;
}

Outcome meet_deadlines(Form form)
{
    constexpr std::chrono::milliseconds deadline{100};
    ::setenv("KORVANE_REPLY_TIMEOUT_MS", std::to_string(deadline.count()).c_str(), 1);
    RelayedAgent agent;
    Relay &relay = *agent.relay;
    const std::string large(1 << 20, 'x'); // more than a socket holds
    Outcome outcome;
    Times late;
    int calls = 0;
    const int rounds = form == Form::brief ? 50 : 2500;
    for (int i = 0; i < rounds; ++i)
        for (const Fault fault : {Fault::stall, Fault::trickle})
            for (const std::size_t direction : {to_agent, to_application}) {
                relay.begin(fault, 0, direction, 1 << 30);
                ::setenv("KORVANE_REPLY_TIMEOUT_MS", "10000", 1);
                Application application;
                if (!application.connect()) {
                    outcome.failures.push_back("no connection");
                    return outcome;
                }
                application.deinitialize();
                // A byte of the call that follows the connection.
                const std::int64_t first = relay.passed(0, direction) + i % 8;
                ::setenv("KORVANE_REPLY_TIMEOUT_MS", std::to_string(deadline.count()).c_str(), 1);
                relay.begin(fault, 0, direction, first);
                if (!application.connect())
                    continue; // the library's own first requests were late
                const auto begin = Clock::now();
                const int result = direction == to_agent ? korvane_set_sso_list(application.handle, large.c_str())
                                                         : call_agent(application.handle);
                const auto took = Clock::now() - begin;
                application.deinitialize();
                if (relay.happened_ns() == 0)
                    continue;
                ++calls;
                late.add(std::max<Clock::duration>(took - deadline, Clock::duration::zero()));
                if (result == KORVANE_ERROR_NONE)
                    outcome.failures.push_back("a call succeeded without its reply");
                if (took > deadline + hang)
                    outcome.failures.push_back("a call did not end at its deadline");
            }
    outcome.line = format("%d calls with a deadline of 100 ms, median %.1f ms late, slowest %.1f ms late", calls,
                          late.quantile(0.5), late.quantile(1));
    if (calls < rounds * 3)
        outcome.failures.push_back(format("only %d calls were slow", calls));
    if (form == Form::extended && late.quantile(1) > 50)
        outcome.failures.push_back("a call was more than 50 ms late");
    return outcome;
}

} // namespace kv::sturdy
