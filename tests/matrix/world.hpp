// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "function_table.hpp"
#include "support/fake_platform.hpp"

#include <deque>
#include <functional>
#include <tuple>
#include <type_traits>
#include <utility>

namespace kvtest::matrix {

/// What came of one call.
struct Outcome {
    int result = 1;
    std::vector<Request> requests;
    LogLines errors; // of the function itself
    bool said_called = false;
};

/// One application, the library over the fake platform, and an agent that answers everything with success.
class World {
public:
    World() = default;
    World(const World &) = delete;
    World &operator=(const World &) = delete;
    ~World() { end(); }

    /// All is ready for a call of the function towards this agent: the library, if the call is to find it, and the
    /// call's subject. A subject that this agent does not know was made before the agent was exchanged.
    void begin(Subject subject, int agent);
    /// Releases all that there is; the agent is there again.
    void end();

    /// Does something while the call's subject is there. A token is there inside a callback only.
    void with(Subject subject, const std::function<void()> &act);
    /// One call from beginning to end. The world must be fresh.
    Outcome outcome_of(const Function &function, int agent);

    void agent_becomes(int version);
    /// The application asks for the event; the parcel that the agent will send for it.
    Bytes subscribe(const Event &event);
    /// The parcel that the agent will send for the delegate of this type that was made last.
    Bytes event_for_newest_delegate(const Event &event);
    void arrives(const Bytes &event) { platform().proxy().push_event(event); }
    bool connected();
    /// The result of a call that asks the agent, of a library that is initialised if it is not.
    int use_once_more();
    /// Calls the function inside another call of this world: what it returns through pointers is released, and the out
    /// arguments are left as they were.
    int call_inside_another(const Function &function);
    /// Whether no call has stored anything in the out arguments.
    bool outs_untouched() const;

    /// The agent's results of the next requests, in the order in which they reach it; 0 once this is empty.
    std::deque<int> next_results;
    /// What the next callback does, once.
    std::function<void()> during_callback;
    int callbacks = 0; // how many have run

    // What calls are made with.

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
    /// Takes one text; the one before is freed.
    char **text();

    /// Notes what a callback was given, and does what is to be done during it.
    template <class... Values>
    void told(Values... values)
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
    void forget_the_past();
    void release_outs();

    void keep(auto) {}
    void keep(korvane_ap_info_h given) { ap_info = given; }
    void keep(korvane_device_prov_info_h given) { prov_info = given; }
    void keep(korvane_hdr_token_info_h given) { token_info = given; }

    const Proxy *connected_ = nullptr; // the proxy that has come up
    int agent_ = newest;
    char *text_ = nullptr;
};

/// A callback of any type; the user data is the world.
inline constexpr auto told = [](korvane_h, auto... values) {
    auto *world = static_cast<World *>(std::get<sizeof...(values) - 1>(std::tuple{values...}));
    world->told(values...);
};

inline void ignore_connection(int, korvane_h, int, void *) {}

/// A connection status callback whose user data is the world. Only the end of the connection counts as a callback.
inline void count_disconnected(int, korvane_h, int status, void *world)
{
    if (status == KORVANE_CONNECTION_DISCONNECTED)
        static_cast<World *>(world)->told();
}

/// A call that releases what it is given. What was not released is still there.
template <class T>
int released(int (*release)(T), T &what)
{
    const int result = release(what);
    if (result == KORVANE_ERROR_NONE)
        what = nullptr;
    return result;
}

} // namespace kvtest::matrix
