// SPDX-License-Identifier: Apache-2.0
#include "function.hpp"

#include "caller.hpp"
#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/suggestion.hpp"

#include <glib.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>

namespace kv::ctl {

namespace {

constexpr const char *prefix = "korvane_";
constexpr double longest_connecting = 60; // the platform gives up far earlier

bool releases(const Function &function)
{
    return std::strstr(function.name, "_destroy") || std::strstr(function.name, "_release");
}

/// Functions of this form are all that can be said of an object: it goes in, plain values come out.
bool reads(const Function &function, const std::string &type)
{
    const std::vector<Form> &forms = function.forms;
    return forms.size() > 1 && forms[0].object && forms[0].type == type && forms[0].role == Form::Role::given &&
           std::all_of(forms.begin() + 1, forms.end(),
                       [](const Form &form) { return form.role == Form::Role::out && !form.object; });
}

bool releases(const Function &function, const std::string &type)
{
    return releases(function) && function.forms[0].object && function.forms[0].type == type;
}

/// One turn of the main loop, which waits for something to happen until then at most.
void turn_until(gint64 deadline)
{
    struct Limit {
        explicit Limit(guint milliseconds)
            : id(g_timeout_add(
                  milliseconds,
                  [](gpointer data) -> gboolean {
                      static_cast<Limit *>(data)->id = 0;
                      return G_SOURCE_REMOVE;
                  },
                  this))
        {
        }
        ~Limit()
        {
            if (id != 0)
                g_source_remove(id);
        }
        guint id;
    };
    const gint64 left = std::max<gint64>(deadline - g_get_monotonic_time(), 0) / 1000;
    const Limit limit{static_cast<guint>(std::min<gint64>(left, G_MAXUINT / 2)) + 1};
    g_main_context_iteration(nullptr, true);
}

} // namespace

std::vector<Form> Function::with_role(Form::Role role) const
{
    std::vector<Form> some;
    std::copy_if(forms.begin(), forms.end(), std::back_inserter(some),
                 [role](const Form &form) { return form.role == role; });
    return some;
}

std::string Function::shown() const
{
    std::string text = name;
    for (const Form &form : with_role(Form::Role::given))
        text += " " + form.type;
    for (const Form &form : with_role(Form::Role::callback))
        text += "  " + form.type;
    const char *mark = "  -> ";
    for (const Form &form : with_role(Form::Role::out))
        text += std::exchange(mark, " ") + form.type;
    return text;
}

const Function &function_named(const std::string &name)
{
    const std::vector<Function> &functions = all_functions();
    const auto found = std::find_if(functions.begin(), functions.end(), [&](const Function &function) {
        return name == function.name || prefix + name == function.name;
    });
    if (found != functions.end())
        return *found;
    std::vector<std::string> names;
    const bool short_form = name.rfind(prefix, 0) != 0;
    for (const Function &function : functions)
        names.emplace_back(function.name + (short_form ? std::strlen(prefix) : 0));
    throw UsageError{"there is no function '" + name + "'" + suggestion(name, names) +
                     " ('korvanectl functions' lists them)"};
}

std::string result_name(int code)
{
    static constexpr std::pair<int, const char *> names[] = {
        {KORVANE_ERROR_NONE, "KORVANE_ERROR_NONE"},
        {KORVANE_ERROR_INVALID_PARAMETER, "KORVANE_ERROR_INVALID_PARAMETER"},
        {KORVANE_ERROR_OUT_OF_MEMORY, "KORVANE_ERROR_OUT_OF_MEMORY"},
        {KORVANE_ERROR_PERMISSION_DENIED, "KORVANE_ERROR_PERMISSION_DENIED"},
        {KORVANE_ERROR_IO_ERROR, "KORVANE_ERROR_IO_ERROR"},
        {KORVANE_ERROR_NO_DATA, "KORVANE_ERROR_NO_DATA"},
        {KORVANE_ERROR_NOT_SUPPORTED, "KORVANE_ERROR_NOT_SUPPORTED"},
        {KORVANE_ERROR_OPERATION_FAILED, "KORVANE_ERROR_OPERATION_FAILED"},
        {KORVANE_ERROR_SERVICE_UNAVAILABLE, "KORVANE_ERROR_SERVICE_UNAVAILABLE"},
        {KORVANE_ERROR_AGENT_VERSION_LOWER, "KORVANE_ERROR_AGENT_VERSION_LOWER"},
    };
    const auto *found =
        std::find_if(std::begin(names), std::end(names), [code](const auto &one) { return one.first == code; });
    return found == std::end(names) ? std::to_string(code) : found->second;
}

Json items_from(const std::string &text)
{
    if (text.rfind('[', 0) == 0) {
        Json items = Json::parse(text, nullptr, false);
        if (!items.is_array())
            throw UsageError{"'" + text + "' is no JSON array"};
        return items;
    }
    Json items = Json::array();
    std::istringstream parts{text};
    for (std::string part; std::getline(parts, part, ',');)
        items.push_back(part);
    return items;
}

Json shown_object(const std::string &type, void *pointer)
{
    if (!pointer)
        return nullptr;
    Session session{nullptr};
    const std::vector<Argument> arguments{{"", false, std::make_shared<Object>(Object{type, pointer})}};
    Json members = Json::object();
    for (const Function &function : all_functions()) {
        if (!reads(function, type))
            continue;
        Frame frame{session, function.name, arguments};
        if (function.call(frame) == 0)
            members[std::strstr(function.name, "_get_") + std::strlen("_get_")] = frame.outs[0].shown;
    }
    return members;
}

Session::~Session()
{
    quiet_ = true;
    std::vector<OutValue> none;
    for (const auto &object : objects_)
        for (const Function &function : all_functions())
            if (!object->released && releases(function, object->type))
                call(function, {{"", false, object}}, none);
    if (handle)
        korvane_deinitialize(handle);
}

int Session::call(const Function &function, const std::vector<Argument> &arguments, std::vector<OutValue> &outs)
{
    const bool initialises = std::strcmp(function.name, "korvane_initialize") == 0;
    if (function.needs_library && !handle) {
        quiet_ = true;
        const int result = call(function_named("korvane_initialize"), {}, outs);
        quiet_ = false;
        if (result != 0)
            throw Failure{no_agent, "korvane_initialize: " + result_name(result) +
                                        (result == KORVANE_ERROR_NOT_SUPPORTED ? ", no agent is installed" : "") +
                                        "; 'korvanectl doctor' says what is wrong"};
    }
    if (initialises)
        connection_.reset();
    Frame frame{*this, function.name, arguments};
    const int result = function.call(frame);
    outs = std::move(frame.outs);
    if (result != 0)
        return result;
    if (initialises)
        await_connection();
    if (std::strcmp(function.name, "korvane_deinitialize") == 0)
        handle = nullptr;
    if (releases(function) && !arguments.empty() && arguments[0].object)
        arguments[0].object->released = true;
    return result;
}

void Session::await_connection()
{
    const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(longest_connecting * G_USEC_PER_SEC);
    while (!connection_ && g_get_monotonic_time() < deadline)
        turn_until(deadline);
    if (connection_ == KORVANE_CONNECTION_CONNECTED)
        return;
    throw Failure{no_agent, "no connection to the agent: " +
                                (connection_ ? result_name(connection_result_) : "it does not answer") +
                                "; 'korvanectl doctor' says what is wrong"};
}

void Session::listen(double seconds, int callbacks)
{
    while (g_main_context_iteration(nullptr, false)) {
    }
    const gint64 deadline = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
    while (g_get_monotonic_time() < deadline && (callbacks == 0 || callbacks_ < callbacks))
        turn_until(deadline);
}

void Session::heard(const char *function, int callback, const Json &values)
{
    if (std::strcmp(function, "korvane_initialize") == 0) {
        connection_result_ = values[0].get<int>();
        connection_ = values[1].get<int>();
        if (quiet_ && connection_ == KORVANE_CONNECTION_CONNECTED)
            return;
    } else {
        ++callbacks_;
    }
    if (heard_)
        heard_(function, callback, values);
}

std::shared_ptr<Object> Session::keep(Object object)
{
    return objects_.emplace_back(std::make_shared<Object>(std::move(object)));
}

} // namespace kv::ctl
