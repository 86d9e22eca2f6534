// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library_fixture.hpp"

#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace kv::test {

/// The application's side of events: what its callbacks were seen, and what it does inside the next of them.
struct Recorder {
    std::vector<std::string> seen;
    korvane_h handle = nullptr; // of the last call
    std::function<void(korvane_h handle)> then;

    void note(korvane_h called_with, std::string text)
    {
        handle = called_with;
        seen.push_back(std::move(text));
        if (auto act = std::exchange(then, nullptr))
            act(called_with);
    }
};

inline std::string shown(const char *text)
{
    return text ? text : "(null)";
}
inline std::string shown(korvane_ap_info_h ap_info)
{
    return ap_info ? "ap_info" : "no ap_info";
}
inline std::string shown(korvane_device_prov_info_h info)
{
    return info ? "info" : "no info";
}
template <class Number>
std::string shown(Number number)
{
    return std::to_string(number);
}

/// A callback that notes "<letter> <value> <value>..." in the recorder that is its user data.
template <char Letter, class... Values>
struct Note {
    static void call(korvane_h handle, Values... values, void *recorder)
    {
        std::string text(1, Letter);
        ((text += " " + shown(values)), ...);
        static_cast<Recorder *>(recorder)->note(handle, text);
    }
};

/// The library, connected to an agent of a chosen version that answers whatever it is asked.
class SetupTest : public LibraryTest {
protected:
    void connect_to(const std::string &version)
    {
        platform.agent_version = version;
        connect();
        answers(0);
    }

    /// Every request is answered with this result; the generic method with a text besides.
    void answers(int result)
    {
        platform.main_port().on_sent = [result](Port &port, const Bytes &request) {
            port.push(first(request, 4) == i32(102) ? reply(result, str("{}")) : reply(result));
        };
    }

    /// The agent is replaced by one of another version while the application runs.
    void agent_becomes(const std::string &version)
    {
        install_starts();
        update_completes();
        platform.agent_version = version;
        platform.log.clear();
    }

    /// The next calls find the agent being installed.
    void begin_install()
    {
        install_starts();
        platform.log.clear();
    }

    void end_run() override
    {
        LibraryTest::end_run();
        recorder = {};
    }

    Recorder recorder;
};

/// What becomes of a request when the named platform call fails; "" is none.
inline int outcome_of_request(const std::string &failed)
{
    const auto is = [&](const char *prefix) { return failed.starts_with(prefix); };
    if (failed.empty() || is("rpc_port_parcel_destroy") || is("package_info_"))
        return KORVANE_ERROR_NONE;
    if (is("rpc_port_parcel_send") || is("rpc_port_parcel_create_from_port") ||
        failed == "rpc_port_parcel_read_int32 1")
        return KORVANE_ERROR_IO_ERROR;
    return KORVANE_ERROR_OPERATION_FAILED; // the request cannot be written, or the reply not read
}

} // namespace kv::test
