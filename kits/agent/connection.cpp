// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "kits/common/check.h"
#include "src/kv_master/array_codec.hpp"

#include <last_result.h>

#include <algorithm>

namespace kv::agent_kit {

using namespace master;

Options options;

namespace {

int last_seq_id = 0;

/// Reads and discards the values of an event. Returns the name of the first one that cannot be decoded, or null.
template <class... E>
const char *first_bad_value(In<E...>, [[maybe_unused]] const Parcel &parcel)
{
    const char *bad = nullptr;
    (void)(([&] {
               typename Wire<E>::Received value{};
               if (!Wire<E>::read(parcel.get(), value))
                   bad = E::name;
               return bad == nullptr;
           }()) &&
           ...);
    return bad;
}

/// Why the values behind the head of an event do not match its description.
std::string problem_of(const AnyDelegate &delegate, const Parcel &parcel)
{
    std::string problem = "has the unknown type " + std::to_string(delegate.id);
    visit_id(Delegates{}, delegate.id, [&]<class D>() {
        const char *bad = first_bad_value(typename D::values{}, parcel);
        problem = bad                 ? std::string{D::name} + ": the value '" + bad + "' is missing or malformed"
                  : is_at_end(parcel) ? ""
                                      : std::string{D::name} + ": bytes follow the last value";
    });
    return problem;
}

} // namespace

bool is_at_end(const Parcel &parcel)
{
    bool rest = false;
    return rpc_port_parcel_read_bool(parcel.get(), &rest) != 0;
}

Connection::Connection()
{
    rpc_port_proxy_create(&proxy_);
    rpc_port_proxy_add_connected_event_cb(
        proxy_,
        [](const char *, const char *, rpc_port_h port, void *self) {
            static_cast<Connection *>(self)->main_port_ = port;
            static_cast<Connection *>(self)->is_connected_ = true;
        },
        this);
    rpc_port_proxy_add_rejected_event_cb(
        proxy_, [](const char *, const char *, void *self) { static_cast<Connection *>(self)->is_rejected_ = true; },
        this);
    rpc_port_proxy_add_disconnected_event_cb(
        proxy_,
        [](const char *, const char *, void *self) { static_cast<Connection *>(self)->is_disconnected_ = true; }, this);
    rpc_port_proxy_add_received_event_cb(
        proxy_, [](const char *, const char *, void *self) { static_cast<Connection *>(self)->read_event(); }, this);
}

Connection::~Connection()
{
    if (proxy_)
        rpc_port_proxy_destroy(proxy_);
}

bool Connection::open()
{
    const int result =
        proxy_ ? rpc_port_proxy_connect(proxy_, options.agent_id.c_str(), options.port_name.c_str()) : -12;
    if (result != 0) {
        g_test_fail_printf("cannot connect to port %s of %s: error %d", options.port_name.c_str(),
                           options.agent_id.c_str(), result);
        return false;
    }
    while (!is_connected_ && !is_rejected_)
        g_main_context_iteration(nullptr, TRUE);
    if (is_rejected_)
        g_test_fail_printf("port %s of %s: the connection was rejected with %d", options.port_name.c_str(),
                           options.agent_id.c_str(), get_last_result());
    return is_connected_;
}

bool Connection::send(const Parcel &request)
{
    const int result = rpc_port_parcel_send(request.get(), main_port_);
    if (result != 0)
        g_test_fail_printf("cannot send the request: error %d", result);
    return result == 0;
}

bool Connection::read(Parcel &reply)
{
    const int result = rpc_port_parcel_create_from_port(reply.out(), main_port_);
    if (result != 0)
        g_test_fail_printf("no reply: error %d", result);
    return result == 0;
}

void Connection::expect_end()
{
    Parcel reply;
    if (rpc_port_parcel_create_from_port(reply.out(), main_port_) == 0)
        g_test_fail_printf("the agent has replied; it must close the connection instead");
    else
        kit_wait(&is_disconnected_, "end of the connection");
}

bool Connection::wait_for_events(int count)
{
    return kit_wait_count(&event_count_, count, "events");
}

void Connection::expect_valid_events() const
{
    for (const ReceivedEvent &event : events) {
        const bool was_sent = std::any_of(sent_.begin(), sent_.end(), [&event](const AnyDelegate &sent) {
            return sent.id == event.delegate.id && sent.seq_id == event.delegate.seq_id;
        });
        if (!event.problem.empty())
            g_test_fail_printf("an event %s", event.problem.c_str());
        else if (!was_sent)
            g_test_fail_printf("an event has the delegate %d of type %d, which this connection has not sent",
                               event.delegate.seq_id, event.delegate.id);
    }
}

AnyDelegate Connection::new_delegate(int id, bool once)
{
    AnyDelegate delegate;
    delegate.id = id;
    delegate.seq_id = ++last_seq_id;
    delegate.once = once;
    sent_.push_back(delegate);
    return delegate;
}

void Connection::read_event()
{
    rpc_port_h port = nullptr;
    Parcel parcel;
    if (rpc_port_proxy_get_port(proxy_, RPC_PORT_PORT_CALLBACK, &port) != 0 ||
        rpc_port_parcel_create_from_port(parcel.out(), port) != 0)
        return;
    int kind = 0;
    ReceivedEvent event;
    if (!IntWire::read(parcel.get(), kind) || !IntWire::read(parcel.get(), event.delegate.id) ||
        !IntWire::read(parcel.get(), event.delegate.seq_id) || !BoolWire::read(parcel.get(), event.delegate.once))
        event.problem = "ends before its values";
    else if (kind != Kind::callback)
        event.problem = "has the kind " + std::to_string(kind);
    else
        event.problem = problem_of(event.delegate, parcel);
    events.push_back(event);
    ++event_count_;
}

} // namespace kv::agent_kit
