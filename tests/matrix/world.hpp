// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "function_table.hpp"
#include "support/fake_platform.hpp"

#include <deque>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kv::test::matrix {

/// The result of one call, its requests and its lines in the log.
struct Outcome {
    int result = 1;
    std::vector<Request> requests;
    LogLines errors; // error lines of the function itself
    bool said_called = false;
};

/// An application, the library over the fake platform, and an agent that replies to every request with success.
class World {
public:
    World() = default;
    World(const World &) = delete;
    World &operator=(const World &) = delete;
    ~World() { end(); }

    /// Prepares a call: initialises the library unless the subject is `nothing`, and creates the subject. A subject that
    /// this agent does not support is created with another agent, which this one then replaces.
    void begin(Subject subject, int agent);
    /// Releases everything and installs the newest agent.
    void end();

    /// Runs `act` while the subject exists. A token exists inside a callback only.
    void with(Subject subject, const std::function<void()> &act);
    /// Prepares and makes one call. The world must be in its initial state.
    Outcome outcome_of(const Function &function, int agent);

    void agent_becomes(int version);
    /// Makes the application ask for the event; returns the parcel that the agent then sends for it.
    Bytes subscribe(const Event &event);
    /// The parcel that the agent sends for the delegate of this type that was created last.
    Bytes event_for_newest_delegate(const Event &event);
    void arrives(const Bytes &event) { platform().proxy().push_event(event); }
    bool connected();
    /// Initialises and connects if needed, calls the agent and returns the result.
    int use_once_more();
    /// Calls the function inside another call of this world. What it stores is released, and the out arguments of the
    /// outer call stay as they are.
    int call_inside_another(const Function &function);
    /// Whether no call has stored anything in the out arguments.
    bool outs_untouched() const;

    /// The agent's results of the next requests, in the order in which they reach it; 0 once this is empty.
    std::deque<int> next_results;
    /// What the next callback does, once.
    std::function<void()> during_callback;
    int callbacks = 0; // number of callbacks that have run

    // Arguments of calls.

    korvane_h handle = nullptr;
    korvane_ap_info_h ap_info = nullptr;
    korvane_device_prov_info_h prov_info = nullptr;
    korvane_aplist_h ap_list = nullptr;
    korvane_cloud_info_h cloud_info = nullptr;
    korvane_platform_info_h platform_info = nullptr;
    korvane_last_status_info_h last_status = nullptr;
    korvane_device_profile_info_h profile = nullptr;
    korvane_tnc_info_h terms = nullptr;
    korvane_tcp_header_info_h tcp_header = nullptr;
    korvane_sub_dev_prs_h *presences = nullptr;
    int presence_count = 0;
    korvane_hdr_token_info_h token_info = nullptr;

    int number = 0;
    bool flag = false;
    /// The out argument for one text. Frees the previous text.
    char **text();

    /// Keeps the arguments of a callback, counts it and runs `during_callback`.
    template <class... Values>
    void on_event(Values... values)
    {
        (keep(values), ...);
        ++callbacks;
        if (auto act = std::exchange(during_callback, nullptr))
            act();
        token_info = nullptr;
    }

private:
    static FakePlatform &platform() { return FakePlatform::instance(); }
    void connect();
    void make(Subject subject, int agent);
    void clear_records();
    void release_outs();

    void keep(auto) {}
    void keep(korvane_ap_info_h given) { ap_info = given; }
    void keep(korvane_device_prov_info_h given) { prov_info = given; }
    void keep(korvane_hdr_token_info_h given) { token_info = given; }

    const Proxy *connected_ = nullptr; // the connected proxy
    int agent_ = newest;
    char *text_ = nullptr;
};

/// A callback of any type; the user data is the world.
inline constexpr auto on_event = [](korvane_h, auto... values) {
    auto *world = static_cast<World *>(std::get<sizeof...(values) - 1>(std::tuple{values...}));
    world->on_event(values...);
};

inline void ignore_connection(int, korvane_h, int, void *) {}

/// A connection status callback whose user data is the world. Only the end of the connection counts as a callback.
inline void count_disconnected(int, korvane_h, int status, void *world)
{
    if (status == KORVANE_CONNECTION_DISCONNECTED)
        static_cast<World *>(world)->on_event();
}

/// Calls a function that releases an object, and clears the pointer if it succeeds.
template <class T>
int released(int (*release)(T), T &what)
{
    const int result = release(what);
    if (result == KORVANE_ERROR_NONE)
        what = nullptr;
    return result;
}

} // namespace kv::test::matrix
