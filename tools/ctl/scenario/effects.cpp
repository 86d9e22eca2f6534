// SPDX-License-Identifier: Apache-2.0
#include "effects.hpp"

#include "src/kv_master/interface.hpp"

#include <iterator>
#include <utility>

namespace kv::ctl {

namespace {

template <class D>
Effect sends(D, Json value)
{
    return {D::name, std::move(value)};
}

/// Whether the call is this command of the generic method.
bool is_command(const master::Command &command, const std::string &method, const Json &arguments)
{
    return method == master::common_interface::name &&
           number_in(member_of(arguments, "request"), master::commands::number.key, 0) == command.number;
}

bool signs_up(const std::string &method, const Json &arguments)
{
    return method == master::signup_cloud::name ||
           is_command(master::commands::sign_up_cloud::command, method, arguments);
}

bool resets(const std::string &method, const Json &arguments)
{
    return method == master::reset::name ||
           (method == master::send_reset_confirm::name && flag_in(arguments, "confirm", false));
}

void append(std::vector<Effect> &effects, std::vector<Effect> more)
{
    effects.insert(effects.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// The agent sends one event for each one-shot request.
void add_one_shot_events(const Json &arguments, std::vector<Effect> &effects)
{
    for (const auto &[name, value] : arguments.items())
        if (flag_in(value, "once", false))
            effects.push_back({name, nullptr, true});
}

} // namespace

bool Effect::is(const std::string &name, const Json &values) const
{
    return name == event && (value.is_null() || (!values.empty() && values.front() == value));
}

std::vector<Effect> effects_of(const std::string &method, const Json &arguments)
{
    std::vector<Effect> effects;
    add_one_shot_events(arguments, effects);
    if (signs_up(method, arguments))
        append(effects,
               {sends(master::signup_status_changed_cb{}, true), sends(master::signin_status_changed_cb{}, true)});
    if (resets(method, arguments))
        append(effects, {sends(master::reset_result_cb{}, true), sends(master::signup_status_changed_cb{}, false),
                         sends(master::signin_status_changed_cb{}, false)});
    if (method == master::disconnect_cloud_session::name)
        append(effects, {sends(master::tcp_session_disconnected_cb{}, nullptr),
                         sends(master::signin_status_changed_cb{}, false)});
    if (is_command(master::commands::disable_signin::command, method, arguments)) {
        const bool disables =
            flag_in(member_of(arguments, "request"), master::commands::disable_signin::disable.key, false);
        append(effects, {sends(master::signin_status_changed_cb{}, !disables)});
    }
    return effects;
}

} // namespace kv::ctl
