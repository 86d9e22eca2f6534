// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "conformance/fixtures/setup_fixture.hpp"

#include <map>
#include <set>

/// Calls inside calls: the platform raises events inside a send or a wait, and the application's callback calls the
/// library again.
namespace kv::test {

inline constexpr int ok = KORVANE_ERROR_NONE;
inline constexpr int failed = KORVANE_ERROR_OPERATION_FAILED;

using Strings = std::vector<std::string>;

inline std::string name_of(Moment moment)
{
    return moment == Moment::send ? "InsideSend" : moment == Moment::wait ? "InsideWait" : "InsideDestroy";
}

/// The points at which a call can be interrupted.
inline constexpr Moment inside_a_call[] = {Moment::send, Moment::wait};

/// The library with one registered callback, the trigger, whose event lets the application act inside another call.
class NestedTest : public SetupTest {
protected:
    /// Connects, registers the trigger and clears all records.
    void begin(const std::string &version = "2.3")
    {
        statuses.clear();
        trigger = {};
        results.clear();
        unanswered.clear();
        connect_to(version);
        register_trigger();
        clear_records();
        number_requests();
    }

    void register_trigger()
    {
        ASSERT_EQ(korvane_set_status_changed_cb(handle, Note<'!', int>::call, &trigger), ok);
        trigger_event = event(1, last_seq_id(platform.log), false, i32(0));
    }

    /// Makes the trigger's callback run and call `act` at the n-th such moment from now on.
    void inside(Moment moment, std::function<void(korvane_h)> act, unsigned nth = 1)
    {
        platform.proxy().raise_inside(
            moment,
            [this, act = std::move(act)](Proxy &proxy) {
                trigger.then = act;
                proxy.push_event(trigger_event);
            },
            nth);
    }

    /// Makes the agent of the newest proxy number the requests 1, 2, 3 and reply to each at once, with the number as
    /// out value if the method has one.
    void number_requests()
    {
        requests = 0;
        platform.main_port().on_sent = [this](Port &port, const Bytes &request) {
            ++requests;
            if (!unanswered.contains(requests))
                port.push(reply_to(request));
        };
    }

    Bytes reply_to(const Bytes &request)
    {
        const int result = results.contains(requests) ? results[requests] : 0;
        const std::string number = std::to_string(requests);
        switch (request.at(0)) {
        case 2: return reply(result, boolean(false));           // is_update_ready
        case 28: return reply(result, str("device " + number)); // get_device_id
        case 29:                                                // get_easysetup_status
        case 88: return reply(result, boolean(true));           // get_signin_status
        case 78: return reply(result, str("{\"tcp_header_info_ip_version\":" + number + "}"));
        case 84: return reply(result, i32(requests)); // get_thing_status
        case 100: return reply(result, str("[{\"di\":\"d\",\"prs\":" + number + "}]"));
        case 102: return reply(result, str("{}")); // common_interface
        default: return reply(result);
        }
    }

    /// The methods of the requests to the agent of the newest proxy, in order.
    std::vector<int> methods()
    {
        std::vector<int> found;
        for (const Bytes &request : sent())
            found.push_back(request.at(0));
        return found;
    }

    static void on_io_error(korvane_h, void *count) { ++*static_cast<int *>(count); }
    int notices = 0; // calls of the I/O error callback, if a test sets it with this counter

    void end_run() override
    {
        SetupTest::end_run();
        trigger = {};
        results.clear();
        unanswered.clear();
        notices = 0;
    }

    Recorder trigger;
    Bytes trigger_event;
    int requests = 0;
    std::map<int, int> results; // results in the replies, by request number; 0 if there is none
    std::set<int> unanswered;   // numbers of the requests without a reply
};

} // namespace kv::test
