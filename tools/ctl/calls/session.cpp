// SPDX-License-Identifier: Apache-2.0
#include "session.hpp"

#include "tools/ctl/output/failure.hpp"

#include <glib.h>

#include <algorithm>
#include <cstring>

namespace kv::ctl {

namespace {

constexpr double connect_timeout_s = 60; // longer than any timeout of the platform
constexpr const char *hint = "; 'korvanectl doctor' finds the cause";

bool is(const Function &function, const char *name)
{
    return std::strcmp(function.name, name) == 0;
}

/// A GLib timeout that only wakes the main context up.
class WakeUp {
public:
    explicit WakeUp(guint milliseconds) : id_(g_timeout_add(milliseconds, fire, this)) {}
    WakeUp(const WakeUp &) = delete;
    WakeUp &operator=(const WakeUp &) = delete;
    ~WakeUp()
    {
        if (id_ != 0)
            g_source_remove(id_);
    }

private:
    static gboolean fire(gpointer self)
    {
        static_cast<WakeUp *>(self)->id_ = 0;
        return G_SOURCE_REMOVE;
    }

    guint id_;
};

/// Runs the main context once, waiting for an event until the deadline.
void iterate_until(gint64 deadline)
{
    const gint64 left_ms = std::max<gint64>(deadline - g_get_monotonic_time(), 0) / 1000;
    const WakeUp at_deadline{static_cast<guint>(std::min<gint64>(left_ms, G_MAXUINT / 2)) + 1};
    g_main_context_iteration(nullptr, true);
}

gint64 in_seconds(double seconds)
{
    return g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
}

} // namespace

Json object_to_json(const std::string &type, void *pointer)
{
    if (!pointer)
        return nullptr;
    Session session{nullptr};
    const std::vector<Argument> arguments{{"", false, std::make_shared<Object>(Object{type, pointer})}};
    Json members = Json::object();
    for (const Function &function : all_functions()) {
        if (!function.reads(type))
            continue;
        Frame frame{session, function.name, arguments};
        if (function.call(frame) == 0)
            members[std::strstr(function.name, "_get_") + std::strlen("_get_")] = frame.outs[0].json;
    }
    return members;
}

Session::~Session()
{
    connecting_ = true;
    std::vector<OutValue> ignored;
    for (const auto &object : objects_)
        for (const Function &function : all_functions())
            if (!object->released && function.releases(object->type))
                call(function, {{"", false, object}}, ignored);
    if (handle)
        korvane_deinitialize(handle);
}

void Session::initialize(std::vector<OutValue> &outs)
{
    connecting_ = true;
    const int result = call(function_named("korvane_initialize"), {}, outs);
    connecting_ = false;
    if (result != 0)
        throw Failure{no_agent, "cannot initialize the library: " + result_name(result) +
                                    (result == KORVANE_ERROR_NOT_SUPPORTED ? ", no agent is installed" : "") + hint};
}

int Session::call(const Function &function, const std::vector<Argument> &arguments, std::vector<OutValue> &outs)
{
    if (function.needs_library && !handle)
        initialize(outs);
    if (is(function, "korvane_initialize"))
        connection_.reset();
    Frame frame{*this, function.name, arguments};
    const int result = function.call(frame);
    outs = std::move(frame.outs);
    if (result == 0)
        follow_up(function, arguments);
    return result;
}

void Session::follow_up(const Function &function, const std::vector<Argument> &arguments)
{
    if (is(function, "korvane_initialize"))
        await_connection();
    else if (is(function, "korvane_deinitialize"))
        handle = nullptr;
    else if (function.releases() && !arguments.empty() && arguments[0].object)
        arguments[0].object->released = true;
}

void Session::await_connection()
{
    const gint64 deadline = in_seconds(connect_timeout_s);
    while (!connection_ && g_get_monotonic_time() < deadline)
        iterate_until(deadline);
    if (connection_ == KORVANE_CONNECTION_CONNECTED)
        return;
    throw Failure{no_agent, "cannot connect to the agent: " +
                                (connection_ ? result_name(connection_result_)
                                             : "it does not reply within " +
                                                   std::to_string(static_cast<int>(connect_timeout_s)) + " s") +
                                hint};
}

void Session::listen(double seconds, int callbacks)
{
    while (g_main_context_iteration(nullptr, false)) {
    }
    const gint64 deadline = in_seconds(seconds);
    while (g_get_monotonic_time() < deadline && (callbacks == 0 || callbacks_ < callbacks))
        iterate_until(deadline);
}

void Session::report_callback(const char *function, int parameter, const Json &values)
{
    if (std::strcmp(function, "korvane_initialize") == 0) {
        connection_result_ = values[0].get<int>();
        connection_ = values[1].get<int>();
        if (connecting_ && connection_ == KORVANE_CONNECTION_CONNECTED)
            return;
    } else {
        ++callbacks_;
    }
    if (on_callback_)
        on_callback_(function, parameter, values);
}

std::shared_ptr<Object> Session::keep(Object object)
{
    return objects_.emplace_back(std::make_shared<Object>(std::move(object)));
}

} // namespace kv::ctl
