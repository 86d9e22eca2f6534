// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"

#include "kits/common/check.h"
#include "requests.hpp"

#include <type_traits>

/// Each method of the interface: its reply, and the event that completes a one-shot request.
namespace kv::agent_kit {
namespace {

using namespace master;

template <class Method, class... E>
consteval bool sets_or_ends_registration(List<E...>)
{
    return ((std::is_same_v<typename E::set, Method> || std::is_same_v<typename E::unset, Method>) || ...);
}

template <class... E>
consteval bool has_delegate(In<E...>)
{
    return (requires { typename E::delegate; } || ...);
}

template <class Method>
inline constexpr bool is_registration = sets_or_ends_registration<Method>(Events{});
template <class Method>
inline constexpr bool is_one_shot = has_delegate(typename Method::in{}) && !is_registration<Method>;

/// An agent below the version of a method refuses it, with all out values.
template <class Method>
void refuses_a_method_of_later_agents()
{
    Connection connection;
    if (!connection.open() || !send_request<Method>(connection, is_one_shot<Method>))
        return;
    read_reply<Method>(connection, Expected::refusal);
    connection.expect_valid_events();
}

template <class Method>
void replies_as_described()
{
    Connection connection;
    if (!connection.open() || !send_request<Method>(connection))
        return;
    read_reply<Method>(connection, is_registration<Method> ? Expected::success : Expected::any_result);
    kit_run_loop(20);
    connection.expect_valid_events();
}

/// If the agent accepts the request, it sends one event with the delegate of the request; otherwise none.
template <class Method>
void completes_with_one_event()
{
    Connection connection;
    if (!connection.open())
        return;
    const auto delegates = send_request<Method>(connection, true);
    const std::optional<int> result = delegates ? read_reply<Method>(connection) : std::nullopt;
    if (!result)
        return;
    if (*result == 0 && !connection.wait_for_events(1))
        return;
    kit_run_loop(100); // a second event must not follow
    g_assert_cmpuint(connection.events.size(), ==, *result == 0 ? 1 : 0);
    connection.expect_valid_events();
}

template <class Method>
void add_method()
{
    const std::string path = std::string{"/methods/"} + Method::name;
    if (Method::since > options.version)
        kit_add(path.c_str(), refuses_a_method_of_later_agents<Method>);
    else if constexpr (is_one_shot<Method>)
        kit_add(path.c_str(), completes_with_one_event<Method>);
    else
        kit_add(path.c_str(), replies_as_described<Method>);
}

} // namespace

void add_method_checks()
{
    for_each(Methods{}, []<class Method>() { add_method<Method>(); });
}

} // namespace kv::agent_kit
