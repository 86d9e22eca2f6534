// SPDX-License-Identifier: Apache-2.0
// The supervised connection of libkorvane-util with agents that are killed: after each kill the next agent must have every
// registration and the service, exactly once.
#include "e2e/control/control_client.hpp"
#include "sturdy.hpp"

#include <korvane_util.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <utility>

#include <malloc.h>
#include <unistd.h>

namespace kv::sturdy {

namespace {

using test::AgentHome;
using test::ControlConnection;

/// An event with the function that registers its callback.
struct Event {
    const char *command; // emits it
    int (*register_callback)(korvane_h handle, void *count);
};

template <auto Register, class... Values>
int register_counter(korvane_h handle, void *count)
{
    return Register(
        handle, [](korvane_h, Values..., void *received) { ++*static_cast<int *>(received); }, count);
}

constexpr Event events[] = {
    {R"({"event":"status_changed_cb","values":[1]})", register_counter<korvane_set_status_changed_cb, int>},
    {R"({"event":"user_confirm_cb","values":[]})", register_counter<korvane_set_user_confirm_cb>},
    {R"({"event":"scan_ap_cb","values":[7]})", register_counter<korvane_set_scan_ap_cb, int>},
    {R"({"event":"reset_result_cb","values":[true]})", register_counter<korvane_set_reset_result_cb, bool>},
};

/// The agents that the platform starts on demand, one after another.
class Agents {
public:
    explicit Agents(const AgentHome &home) : home_(home) {}
    Agents(const Agents &) = delete;
    Agents &operator=(const Agents &) = delete;
    ~Agents() { kill(); }

    /// Kills the agent that became ready last, if it still runs.
    void kill()
    {
        const std::string pid = test::control_file(home_).at("pid");
        if (pid.empty() || pid == killed_)
            return;
        killed_ = pid;
        ::kill(std::stoi(pid), SIGKILL);
    }

    bool succeeds(const std::string &command, const std::string &body)
    {
        return ControlConnection{home_}.post(command, body).status == test::http::ok;
    }
    bool is_running_the_service() { return ControlConnection{home_}.get("/v1/state").at("state.running") == "true"; }

private:
    const AgentHome &home_;
    std::string killed_{}; // control.json remains after a kill
};

/// An application that kills each fourth agent itself, between two of its registrations.
class Supervised {
public:
    explicit Supervised(Agents &agents) : agents_(agents)
    {
        korvane_util_connect(
            [](korvane_h handle, void *self) { return static_cast<Supervised *>(self)->configure(handle); }, nullptr,
            this, &connection_);
    }
    Supervised(const Supervised &) = delete;
    Supervised &operator=(const Supervised &) = delete;
    ~Supervised() { korvane_util_disconnect(connection_); }

    bool is_connected() const { return korvane_util_get_handle(connection_) != nullptr; }

    /// Whether each event arrives exactly once.
    bool has_all_registrations()
    {
        received_.fill(0);
        for (const Event &event : events)
            if (!agents_.succeeds("emit", event.command))
                return false;
        const auto all_arrived = [this] { return received_.end() == std::find(received_.begin(), received_.end(), 0); };
        test::run_main_loop_until(all_arrived);
        // An event that is delivered twice arrives before the reply to a later call.
        call_agent(korvane_util_get_handle(connection_));
        return std::all_of(received_.begin(), received_.end(), [](int count) { return count == 1; });
    }

    int kills = 0;

private:
    int configure(korvane_h handle)
    {
        const int attempt = ++attempts_;
        const bool kills_this_agent = attempt % 4 == 0;
        const std::size_t last = static_cast<std::size_t>(attempt) / 4 % std::size(events);
        for (std::size_t i = 0; i < std::size(events); ++i) {
            if (kills_this_agent && i == last) {
                agents_.kill();
                ++kills;
            }
            const int result = events[i].register_callback(handle, &received_[i]);
            if (result != KORVANE_ERROR_NONE)
                return result;
        }
        return korvane_start(handle);
    }

    Agents &agents_;
    korvane_util_connection_h connection_ = nullptr;
    int attempts_ = 0;
    std::array<int, std::size(events)> received_{};
};

/// What this process has in use.
struct Use {
    long resident = 0;
    int descriptors = 0;

    static Use now()
    {
        ::malloc_trim(0);
        return {resident_kib(::getpid()), descriptors_of(::getpid())};
    }
};

} // namespace

Outcome supervise(Form form)
{
    const AgentHome home;
    const int wanted = form == Form::brief ? 40 : 10'000;
    Outcome outcome;
    if (test::run_agent({"--install"}).exit_status != 0) {
        outcome.failures.push_back("the agent cannot be installed");
        return outcome;
    }
    Agents agents{home};
    Supervised application{agents};
    Times times;
    Use after_warm_up;
    Use use;
    int verified = 0;
    auto killed = Clock::now();
    while (application.kills < wanted && outcome.failures.empty()) {
        if (!test::run_main_loop_until([&] { return application.is_connected(); })) {
            outcome.failures.push_back(format("no connection after %d kills", application.kills));
            break;
        }
        times.add(Clock::now() - killed);
        if (!application.has_all_registrations() || !agents.is_running_the_service())
            outcome.failures.push_back(format("a registration is lost after %d kills", application.kills));
        ++verified;
        use = Use::now();
        if (verified == wanted / 4)
            after_warm_up = use;
        killed = Clock::now();
        agents.kill();
        ++application.kills;
        if (!test::run_main_loop_until([&] { return !application.is_connected(); }))
            outcome.failures.push_back(format("no notice of the end after %d kills", application.kills));
    }
    const long growth = use.resident - after_warm_up.resident;
    outcome.line =
        format("%d kills, %d agents with all registrations, connected after %.0f ms (median), %.0f ms (99 %%), "
               "%.0f ms (slowest); memory %+ld KiB, descriptors %+d",
               application.kills, verified, times.quantile(0.5), times.quantile(0.99), times.quantile(1), growth,
               use.descriptors - after_warm_up.descriptors);
    if (memory_is_returned && outcome.failures.empty() && growth > 512)
        outcome.failures.push_back("the application grows");
    if (outcome.failures.empty() && use.descriptors != after_warm_up.descriptors)
        outcome.failures.push_back("descriptors stay open");
    return outcome;
}

} // namespace kv::sturdy
