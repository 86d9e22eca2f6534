// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"

#include "kits/common/check.h"
#include "requests.hpp"

#include <climits>

/// Requests that no library sends. Each check ends with a connection that the agent serves.
namespace kv::agent_kit {
namespace {

using namespace master;

void expect_service()
{
    Connection connection;
    if (connection.open() && send_request<is_update_ready>(connection))
        read_reply<is_update_ready>(connection);
}

/// The reply to an unknown method consists of the kind and the result. The connection stays.
void refuses_unknown_methods()
{
    constexpr int unknown[] = {0, 1, 5, 30, 31, 109, 255, 256 + is_update_ready::id, INT_MAX, -1, INT_MIN};
    Connection connection;
    if (!connection.open())
        return;
    for (const int id : unknown) {
        Parcel request;
        rpc_port_parcel_create(request.out());
        if (!IntWire::write(request.get(), id) || !connection.send(request))
            return;
        Parcel reply;
        if (!connection.read(reply) || !read_reply_kind(reply) || !read_result(reply, Expected::refusal)) {
            g_test_fail_printf("after the request of the unknown method %d", id);
            return;
        }
    }
    if (send_request<is_update_ready>(connection))
        read_reply<is_update_ready>(connection);
}

void closes_the_connection_after_an_empty_request()
{
    Connection connection;
    Parcel request;
    rpc_port_parcel_create(request.out());
    if (connection.open() && connection.send(request))
        connection.expect_end();
    expect_service();
}

/// The agent would send events that the application misreads.
void closes_the_connection_after_a_delegate_of_another_type()
{
    Connection connection;
    Parcel request;
    rpc_port_parcel_create(request.out());
    if (connection.open() && IntWire::write(request.get(), set_status_changed_cb::id) &&
        IntWire::write(request.get(), user_confirm_cb::id) && IntWire::write(request.get(), 1) &&
        BoolWire::write(request.get(), false) && connection.send(request))
        connection.expect_end();
    expect_service();
}

/// The last argument is missing, so that the agent cannot know where the request ends.
template <class Method>
void closes_the_connection_after_a_cut_request()
{
    Connection connection;
    if (connection.open() && send_request<Method>(connection, false, Method::in::count - 1))
        connection.expect_end();
    expect_service();
}

} // namespace

void add_malformed_request_checks()
{
    kit_add("/malformed/unknown-methods", refuses_unknown_methods);
    kit_add("/malformed/empty", closes_the_connection_after_an_empty_request);
    kit_add("/malformed/other-delegate", closes_the_connection_after_a_delegate_of_another_type);
    for_each(Methods{}, []<class Method>() {
        if constexpr (Method::in::count > 0)
            if (Method::since <= options.version)
                kit_add((std::string{"/malformed/cut/"} + Method::name).c_str(),
                        closes_the_connection_after_a_cut_request<Method>);
    });
}

} // namespace kv::agent_kit
