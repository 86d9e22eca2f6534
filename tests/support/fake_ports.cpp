// SPDX-License-Identifier: Apache-2.0
#include "fake_platform.hpp"

#include <last_result.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

using namespace kv::test;

namespace {

FakePlatform &platform()
{
    return FakePlatform::instance();
}

/// Appends to a parcel that is written.
int append(rpc_port_parcel_h handle, const char *function, const Bytes &value)
{
    if (int code = platform().enter(function, -ENOMEM))
        return code;
    auto *parcel = platform().open<Parcel>(handle, function);
    if (!parcel)
        return -EINVAL;
    parcel->content.insert(parcel->content.end(), value.begin(), value.end());
    return 0;
}

/// Returns the next bytes of a parcel that is read; NULL past its end.
const unsigned char *take(Parcel &parcel, std::size_t size)
{
    if (parcel.content.size() - parcel.at < size)
        return nullptr;
    const unsigned char *bytes = parcel.content.data() + parcel.at;
    parcel.at += size;
    return bytes;
}

bool take_int32(Parcel &parcel, std::int32_t &value)
{
    const unsigned char *bytes = take(parcel, 4);
    if (!bytes)
        return false;
    value = static_cast<std::int32_t>(std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 |
                                      std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24);
    return true;
}

/// Begins a read of a parcel by this function. Returns 0 or an error code.
int open_for_read(rpc_port_parcel_h handle, const char *function, Parcel *&parcel)
{
    if (int code = platform().enter(function, -EBADMSG))
        return code;
    parcel = platform().open<Parcel>(handle, function);
    return parcel ? 0 : -EINVAL;
}

/// Raises the events that are scheduled for this moment. Returns whether the port can still be used.
bool raise_events(Port &port, Moment moment)
{
    const auto keep_alive = port.proxy->shared_from_this();
    port.proxy->reach(moment);
    return !port.broken && (port.alive || platform().finishes_after_destroy);
}

template <class Watchers, class Callback>
int watch(rpc_port_proxy_h handle, const char *function, Watchers Proxy::*watchers, Callback callback, void *data)
{
    if (int code = platform().enter(function, -ENOMEM))
        return code;
    auto *proxy = platform().open<Proxy>(handle, function);
    if (!proxy)
        return -EINVAL;
    (proxy->*watchers).push_back({callback, data});
    return 0;
}

} // namespace

namespace kv::test {

std::shared_ptr<Proxy> FakePlatform::make_proxy()
{
    auto proxy = proxies_.emplace_back(std::make_shared<Proxy>());
    for (Handle *handle : {static_cast<Handle *>(proxy.get()), static_cast<Handle *>(&proxy->main_port),
                           static_cast<Handle *>(&proxy->callback_port)})
        by_address_[handle] = handle;
    if (on_new_proxy)
        on_new_proxy(*proxy);
    return proxy;
}

rpc_port_parcel_h FakePlatform::parcel_of(Bytes content)
{
    auto *parcel = make<Parcel>();
    parcel->content = std::move(content);
    return static_cast<Handle *>(parcel);
}

const Bytes &FakePlatform::content_of(rpc_port_parcel_h parcel)
{
    return dynamic_cast<Parcel &>(*static_cast<Handle *>(parcel)).content;
}

/// Frees endpoint and name as soon as the callbacks have returned, so that a later use is detected.
void Proxy::fire(auto watchers, auto... port)
{
    auto self = shared_from_this();
    if (!alive && !being_destroyed_)
        platform().misuse("an event of a dead proxy");
    auto endpoint = std::make_unique<std::string>(appid);
    auto name = std::make_unique<std::string>(port_name);
    for (const auto &watcher : watchers)
        if (alive || being_destroyed_)
            watcher.callback(endpoint->c_str(), name->c_str(), port..., watcher.data);
}

void Proxy::fire_connected()
{
    main_port.broken = false;
    fire(connected, static_cast<Handle *>(&main_port));
}

void Proxy::fire_disconnected()
{
    main_port.broken = true;
    main_port.incoming.clear();
    fire(disconnected);
}

void Proxy::fire_rejected(int last_result)
{
    set_last_result(last_result);
    fire(rejected);
}

void Proxy::fire_received()
{
    fire(received);
}

void Proxy::push_event(Bytes parcel)
{
    callback_port.push(std::move(parcel));
    fire_received();
}

void Proxy::raise_inside(Moment moment, Raise raise, unsigned nth)
{
    scheduled_.push_back({moment, reached_[moment] + nth, std::move(raise)});
}

void Proxy::reach(Moment moment)
{
    const unsigned now = ++reached_[moment];
    std::vector<Raise> due;
    std::deque<Scheduled> later;
    for (Scheduled &scheduled : scheduled_) {
        if (scheduled.moment == moment && scheduled.at == now)
            due.push_back(std::move(scheduled.raise));
        else
            later.push_back(std::move(scheduled));
    }
    scheduled_ = std::move(later);
    const auto self = shared_from_this();
    for (const Raise &raise : due)
        if (alive || being_destroyed_)
            raise(*this);
}

/// Releases everything before it raises the events. The library must ignore them; a use of a port in them is a misuse.
void Proxy::destroy()
{
    alive = main_port.alive = callback_port.alive = false;
    being_destroyed_ = true;
    reach(Moment::destroy);
    being_destroyed_ = false;
}

Proxy::Raise received(Bytes parcel)
{
    return [parcel = std::move(parcel)](Proxy &proxy) { proxy.push_event(parcel); };
}

Proxy::Raise disconnected()
{
    return [](Proxy &proxy) { proxy.fire_disconnected(); };
}

} // namespace kv::test

extern "C" {

int rpc_port_proxy_create(rpc_port_proxy_h *proxy)
{
    if (int code = platform().enter("rpc_port_proxy_create", -ENOMEM))
        return code;
    *proxy = static_cast<Handle *>(platform().make_proxy().get());
    return 0;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h handle)
{
    const int code = platform().enter("rpc_port_proxy_destroy", -EINVAL);
    auto *proxy = platform().open<Proxy>(handle, "rpc_port_proxy_destroy");
    if (!proxy)
        return -EINVAL;
    proxy->destroy();
    return code;
}

int rpc_port_proxy_connect(rpc_port_proxy_h handle, const char *appid, const char *port_name)
{
    if (int code = platform().enter("rpc_port_proxy_connect", -EIO))
        return code;
    auto *proxy = platform().open<Proxy>(handle, "rpc_port_proxy_connect");
    if (!proxy)
        return -EINVAL;
    proxy->appid = appid;
    proxy->port_name = port_name;
    ++proxy->connects;
    return 0;
}

int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_connected_event_cb cb, void *data)
{
    return watch(proxy, "rpc_port_proxy_add_connected_event_cb", &Proxy::connected, cb, data);
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_disconnected_event_cb cb,
                                             void *data)
{
    return watch(proxy, "rpc_port_proxy_add_disconnected_event_cb", &Proxy::disconnected, cb, data);
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_rejected_event_cb cb, void *data)
{
    return watch(proxy, "rpc_port_proxy_add_rejected_event_cb", &Proxy::rejected, cb, data);
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_received_event_cb cb, void *data)
{
    return watch(proxy, "rpc_port_proxy_add_received_event_cb", &Proxy::received, cb, data);
}

int rpc_port_proxy_get_port(rpc_port_proxy_h handle, rpc_port_port_type_e type, rpc_port_h *port)
{
    if (int code = platform().enter("rpc_port_proxy_get_port", -EIO))
        return code;
    auto *proxy = platform().open<Proxy>(handle, "rpc_port_proxy_get_port");
    if (!proxy)
        return -EINVAL;
    if (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK)
        platform().misuse("rpc_port_proxy_get_port: no such port");
    *port = static_cast<Handle *>(type == RPC_PORT_PORT_MAIN ? &proxy->main_port : &proxy->callback_port);
    return 0;
}

int rpc_port_parcel_create(rpc_port_parcel_h *parcel)
{
    if (int code = platform().enter("rpc_port_parcel_create", -ENOMEM))
        return code;
    *parcel = platform().parcel_of({});
    return 0;
}

int rpc_port_parcel_create_from_port(rpc_port_parcel_h *parcel, rpc_port_h handle)
{
    const int code = platform().enter("rpc_port_parcel_create_from_port", -EIO);
    auto *port = platform().open<Port>(handle, "rpc_port_parcel_create_from_port");
    if (!port)
        return -EINVAL;
    if (code != 0) {
        port->incoming.clear(); // the link remains broken
        return code;
    }
    if (!raise_events(*port, port == &port->proxy->main_port ? Moment::wait : Moment::read))
        return -EIO;
    if (port->incoming.empty())
        return -EIO;
    *parcel = platform().parcel_of(std::move(port->incoming.front()));
    port->incoming.pop_front();
    return 0;
}

int rpc_port_parcel_send(rpc_port_parcel_h handle, rpc_port_h port_handle)
{
    const int code = platform().enter("rpc_port_parcel_send", -EIO);
    auto *parcel = platform().open<Parcel>(handle, "rpc_port_parcel_send");
    auto *port = platform().open<Port>(port_handle, "rpc_port_parcel_send");
    if (!parcel || !port)
        return -EINVAL;
    if (code != 0) {
        port->incoming.clear(); // the link remains broken
        return code;
    }
    const bool usable = raise_events(*port, Moment::send);
    if (!parcel->alive)
        platform().misuse("the parcel was destroyed inside its own send");
    if (!usable)
        return -EIO;
    if (!port->alive)
        return 0;
    if (!port->send_results.empty()) {
        const int scripted = port->send_results.front();
        port->send_results.pop_front();
        if (scripted != 0)
            return scripted;
    }
    port->sent.push_back(parcel->content);
    if (port->on_sent)
        port->on_sent(*port, parcel->content);
    return 0;
}

int rpc_port_parcel_destroy(rpc_port_parcel_h handle)
{
    const int code = platform().enter("rpc_port_parcel_destroy", -EINVAL);
    auto *parcel = platform().open<Parcel>(handle, "rpc_port_parcel_destroy");
    if (!parcel)
        return -EINVAL;
    parcel->alive = false;
    return code;
}

int rpc_port_parcel_write_int32(rpc_port_parcel_h parcel, int value)
{
    return append(parcel, "rpc_port_parcel_write_int32", i32(value));
}

int rpc_port_parcel_write_bool(rpc_port_parcel_h parcel, bool value)
{
    return append(parcel, "rpc_port_parcel_write_bool", boolean(value));
}

int rpc_port_parcel_write_string(rpc_port_parcel_h parcel, const char *value)
{
    if (!value) {
        platform().misuse("rpc_port_parcel_write_string of NULL");
        return -EINVAL;
    }
    return append(parcel, "rpc_port_parcel_write_string", str(value));
}

int rpc_port_parcel_write_array_count(rpc_port_parcel_h parcel, int items)
{
    return append(parcel, "rpc_port_parcel_write_array_count", count(items));
}

int rpc_port_parcel_write(rpc_port_parcel_h parcel, rpc_port_parcelable_t *parcelable, void *data)
{
    if (int code = platform().enter("rpc_port_parcel_write", -ENOMEM))
        return code;
    if (!platform().open<Parcel>(parcel, "rpc_port_parcel_write"))
        return -EINVAL;
    parcelable->to(parcel, data);
    return 0;
}

int rpc_port_parcel_read_int32(rpc_port_parcel_h handle, int *value)
{
    Parcel *parcel = nullptr;
    if (int code = open_for_read(handle, "rpc_port_parcel_read_int32", parcel))
        return code;
    return take_int32(*parcel, *value) ? 0 : -EBADMSG;
}

int rpc_port_parcel_read_bool(rpc_port_parcel_h handle, bool *value)
{
    Parcel *parcel = nullptr;
    if (int code = open_for_read(handle, "rpc_port_parcel_read_bool", parcel))
        return code;
    const unsigned char *byte = take(*parcel, 1);
    if (!byte)
        return -EBADMSG;
    *value = *byte != 0;
    return 0;
}

int rpc_port_parcel_read_string(rpc_port_parcel_h handle, char **value)
{
    Parcel *parcel = nullptr;
    if (int code = open_for_read(handle, "rpc_port_parcel_read_string", parcel))
        return code;
    std::int32_t length = 0;
    if (!take_int32(*parcel, length) || length < 0)
        return -EBADMSG;
    const unsigned char *text = take(*parcel, static_cast<std::size_t>(length));
    if (!text)
        return -EBADMSG;
    if (length == 0 && platform().returns_null_for_empty) {
        *value = nullptr;
        return 0;
    }
    char *copy = static_cast<char *>(malloc(static_cast<std::size_t>(length) + 1));
    if (!copy)
        return -ENOMEM;
    std::memcpy(copy, text, static_cast<std::size_t>(length));
    copy[length] = '\0';
    *value = copy;
    return 0;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h handle, int *items)
{
    Parcel *parcel = nullptr;
    if (int code = open_for_read(handle, "rpc_port_parcel_read_array_count", parcel))
        return code;
    std::int32_t found = 0;
    if (!take_int32(*parcel, found))
        return -EBADMSG;
    const auto rest = static_cast<std::int64_t>(parcel->content.size() - parcel->at);
    if (!platform().trusts_array_counts && (found < 0 || found > rest)) // an item has at least one byte
        return -EBADMSG;
    *items = found;
    return 0;
}

int rpc_port_parcel_read(rpc_port_parcel_h parcel, rpc_port_parcelable_t *parcelable, void *data)
{
    if (int code = platform().enter("rpc_port_parcel_read", -EBADMSG))
        return code;
    if (!platform().open<Parcel>(parcel, "rpc_port_parcel_read"))
        return -EINVAL;
    parcelable->from(parcel, data);
    return 0;
}

} // extern "C"
