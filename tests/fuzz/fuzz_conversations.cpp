// SPDX-License-Identifier: Apache-2.0
// Whole conversations of an application with an agent. The input is a sequence of steps: calls of any exported function,
// replies, events and disconnections in the main loop or inside a call, updates, other versions of the agent, platform functions
// that fail, the end of the session and a new one. After all of it the library must still work, and it must not leave a handle
// behind or use one after its release.

#include "common/agent_state.hpp"
#include "fuzz_input.hpp"
#include "matrix/world.hpp"

#include <glib.h>

#include <stdexcept>

namespace {

using namespace kv::test;
using namespace kv::test::matrix;

constexpr const char *update_event = "org.korvane.ServiceManager.UpdateStatus";

class Conversation {
public:
    explicit Conversation(FuzzInput &input) : input_(input) { world_.begin(Subject::library, agent()); }

    void run()
    {
        while (!input_.at_end()) {
            step();
            world_.ap_info = nullptr; // valid in its callback only
            world_.prov_info = nullptr;
        }
        finish();
    }

private:
    static FakePlatform &platform() { return FakePlatform::instance(); }

    /// The proxy of the session; null without one.
    static Proxy *proxy()
    {
        return platform().proxies().empty() || !platform().proxy().alive ? nullptr : &platform().proxy();
    }

    int agent() { return agents[2 + input_.below(std::size(agents) - 2)]; } // one that can be reached

    void step()
    {
        switch (input_.below(12)) {
        case 0:
        case 1:
        case 2: return call();
        case 3: return push_event();
        case 4: return disconnect();
        case 5: return restart();
        case 6: return raise_inside_a_call();
        case 7: return announce();
        case 8: return world_.agent_becomes(agents[input_.below(std::size(agents))]);
        case 9: return reply_next();
        case 10: return fail_a_platform_call();
        default: return act_in_the_next_callback();
        }
    }

    /// With an object of the kind that the function takes, if there is one.
    void call()
    {
        const Function &function = functions()[(256 * input_.byte() + input_.byte()) % functions().size()];
        if (can_call(function))
            world_.call_inside_another(function);
    }

    bool can_call(const Function &function) const
    {
        return (world_.handle || function.subject == Subject::nothing) && exists(function.subject) &&
               !has_created(function.name);
    }

    /// Whether the function would replace an object that the application still has to destroy.
    bool has_created(const std::string &function) const
    {
        const std::pair<const char *, const void *> objects[] = {
            {"korvane_initialize", world_.handle},
            {"korvane_aplist_create", world_.ap_list},
            {"korvane_cloudinfo_create", world_.cloud_info},
            {"korvane_platforminfo_create", world_.platform_info},
            {"korvane_laststatusinfo_create", world_.last_status},
            {"korvane_device_profile_info_create", world_.profile},
            {"korvane_tnc_info_create", world_.terms},
        };
        for (const auto &[name, object] : objects)
            if (function == name)
                return object;
        return false;
    }

    /// A call with a missing object is an ordinary error, except for objects that only a callback has.
    bool exists(Subject subject) const
    {
        switch (subject) {
        case Subject::ap_info: return world_.ap_info;
        case Subject::prov_info: return world_.prov_info;
        case Subject::token_info: return world_.token_info;
        case Subject::presences: return world_.presences && world_.presence_count > 0;
        default: return true;
        }
    }

    /// An event for the newest delegate of its kind or a neighbour of it, with the values of the table or with other bytes.
    Bytes event()
    {
        Event kind = events()[input_.below(events().size())];
        const unsigned form = input_.byte();
        if (form % 4 == 0) {
            const std::string other = input_.text();
            kind.values = Bytes(other.begin(), other.end());
        }
        try {
            Bytes parcel = world_.event_for_newest_delegate(kind);
            constexpr std::size_t seq_id = 8;
            if (form % 8 == 1)
                --parcel[seq_id];
            return parcel;
        } catch (const std::logic_error &) { // no delegate of this kind was created
            return kv::test::event(kind.id, 1, false, kind.values);
        }
    }

    void push_event()
    {
        const Bytes parcel = event();
        if (Proxy *open = proxy())
            open->push_event(parcel);
    }

    void disconnect()
    {
        if (Proxy *open = proxy())
            open->fire_disconnected();
    }

    void restart()
    {
        if (world_.handle && released(korvane_deinitialize, world_.handle) != ok)
            return;
        if (input_.below(4) == 0)
            korvane_initialize(&world_.handle, count_disconnected, &world_); // not connected yet
        else
            use_library();
    }

    /// Initialises and connects if needed. Returns the result of a call; the agent may be one that cannot be reached.
    int use_library()
    {
        try {
            return world_.use_once_more();
        } catch (const std::runtime_error &) {
            return failed;
        }
    }

    void raise_inside_a_call()
    {
        const Moment moment = input_.below(2) == 0 ? Moment::send : Moment::wait;
        const bool disconnects = input_.below(3) == 0;
        const Bytes parcel = disconnects ? Bytes{} : event();
        if (Proxy *open = proxy())
            open->raise_inside(moment, disconnects ? disconnected() : received(parcel));
        call();
    }

    void announce()
    {
        constexpr const char *steps[] = {"Start", "Install", "Complete", "Fail", "Other"};
        bundle_s data;
        const char *step = steps[input_.below(std::size(steps))];
        if (input_.below(2) == 0)
            data.array(step, {"agent", "other"});
        else
            data.text(step, "agent");
        for (EventHandler *handler : platform().event_handlers())
            handler->fire(update_event, data);
    }

    void reply_next()
    {
        const int kind = static_cast<int>(input_.below(4));
        const std::string bytes = input_.text();
        if (kind == 0)
            world_.next_results.push_back(-static_cast<int>(bytes.size()));
        else if (Proxy *open = proxy())
            open->main_port.push(Bytes(bytes.begin(), bytes.end()));
    }

    void fail_a_platform_call()
    {
        platform().faults.fail(static_cast<unsigned>(input_.below(16)));
        call();
        platform().faults.disarm();
    }

    void act_in_the_next_callback()
    {
        const std::size_t what = input_.below(4);
        const std::size_t number = 256 * input_.byte() + input_.byte();
        world_.during_callback = [this, what, number] {
            const Function &function = functions()[number % functions().size()];
            if (what == 0 && world_.handle)
                released(korvane_deinitialize, world_.handle);
            else if (what == 1)
                restart();
            else if (can_call(function))
                world_.call_inside_another(function);
        };
    }

    /// The library works after all.
    void finish()
    {
        world_.during_callback = nullptr;
        world_.next_results.clear();
        while (g_main_context_iteration(nullptr, FALSE))
            continue;
        world_.agent_becomes(newest); // without an agent a session cannot be ended
        if (world_.handle)
            released(korvane_deinitialize, world_.handle);
        kv::agent.update = kv::AgentState::none; // as in a new process
        must(use_library() == ok, "the library does not work any more");
    }

    FuzzInput &input_;
    World world_{};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FakePlatform &platform = FakePlatform::instance();
    platform.reset();
    kv::agent.update = kv::AgentState::none;
    FuzzInput input{data, size};
    Conversation{input}.run();
    while (g_main_context_iteration(nullptr, FALSE))
        continue;
    for (const std::string &what : platform.take_misuses())
        must(what.find("never raised") != std::string::npos,
             what.c_str()); // a planned event of a call that sends nothing
    for (const std::string &what : platform.alive())
        must(false, ("left alive: " + what).c_str());
    return 0;
}
