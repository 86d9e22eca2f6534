// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"

#include "kits/common/check.h"
#include "requests.hpp"

/// Connections, and the order of requests and replies.
namespace kv::agent_kit {
namespace {

using namespace master;

/// The requests with which the library begins.
void serves_the_first_requests()
{
    Connection connection;
    if (!connection.open())
        return;
    if (options.version >= set_api_version::since && send_request<set_api_version>(connection))
        read_reply<set_api_version>(connection, Expected::success);
    if (send_request<is_update_ready>(connection))
        read_reply<is_update_ready>(connection, Expected::success);
}

/// An application may send requests before it has read the replies. Methods with different out values alternate, so that
/// a reply in the wrong place does not match.
void replies_in_the_order_of_the_requests()
{
    constexpr int rounds = 50;
    Connection connection;
    if (!connection.open())
        return;
    for (int i = 0; i < rounds; ++i)
        if (!send_request<get_device_id>(connection) || !send_request<is_update_ready>(connection))
            return;
    for (int i = 0; i < rounds; ++i)
        if (!read_reply<get_device_id>(connection, Expected::success) || !read_reply<is_update_ready>(connection))
            return;
}

void serves_two_connections_at_once()
{
    Connection first;
    Connection second;
    if (!first.open() || !second.open())
        return;
    if (!send_request<get_device_id>(first) || !send_request<is_update_ready>(second))
        return;
    read_reply<is_update_ready>(second);
    read_reply<get_device_id>(first);
}

void serves_one_connection_after_another()
{
    for (int i = 0; i < 100; ++i) {
        Connection connection;
        if (!connection.open() || !send_request<is_update_ready>(connection) ||
            !read_reply<is_update_ready>(connection))
            return;
    }
}

/// An application may end, or close its connection, while the agent works on its request.
void survives_a_connection_that_ends_inside_a_request()
{
    for (int i = 0; i < 20; ++i) {
        Connection connection;
        if (!connection.open() || !send_request<get_device_id>(connection))
            return;
    }
    Connection next;
    if (next.open() && send_request<get_device_id>(next))
        read_reply<get_device_id>(next, Expected::success);
}

} // namespace

void add_session_checks()
{
    kit_add("/session/first-requests", serves_the_first_requests);
    kit_add("/session/order-of-replies", replies_in_the_order_of_the_requests);
    kit_add("/session/two-connections", serves_two_connections_at_once);
    kit_add("/session/many-connections", serves_one_connection_after_another);
    kit_add("/session/ends-inside-request", survives_a_connection_that_ends_inside_a_request);
}

} // namespace kv::agent_kit
