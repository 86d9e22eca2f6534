// SPDX-License-Identifier: Apache-2.0
#include "exchange.hpp"

#include "src/kv_master/parcel.hpp"

#include <last_result.h>

#include <algorithm>
#include <cerrno>

namespace kv::proxy {

/// An exchange that waits for its reply. Replies arrive in the order of the requests, so a nested exchange first reads
/// the replies of the older ones, and keeps them here.
struct PendingReply {
    Parcel parcel; // behind its kind; empty while the reply has not been read
    PendingReply *newer = nullptr;
};

namespace {

using call_log = master::LogOf<"rpc_port_proxy_kv_master_invoke_">;
using master::ValueType;

template <class... M>
constexpr int max_outs(describe::List<M...>)
{
    return std::max({M::out::count...});
}

bool write(rpc_port_parcel_h parcel, ValueType type, const Value &value)
{
    switch (type) {
    case ValueType::int32: return master::IntWire::write(parcel, value.number);
    case ValueType::boolean: return master::BoolWire::write(parcel, value.flag);
    case ValueType::string: return master::TextWire::write(parcel, value.text);
    case ValueType::delegate: return write_parcelable(parcel, value.delegate->get());
    default: return write_parcelable(parcel, value.parcelable);
    }
}

/// An out value until the whole reply has been read.
struct OutValue {
    int number = 0;
    bool flag = false;
    CText text;

    bool read(rpc_port_parcel_h parcel, ValueType type)
    {
        switch (type) {
        case ValueType::out_int32: return master::IntWire::read(parcel, number);
        case ValueType::out_boolean: return master::BoolWire::read(parcel, flag);
        default: return master::TextWire::read(parcel, text);
        }
    }

    void store(ValueType type, void *out)
    {
        switch (type) {
        case ValueType::out_int32: *static_cast<int *>(out) = number; break;
        case ValueType::out_boolean: *static_cast<bool *>(out) = flag; break;
        default: *static_cast<char **>(out) = text.release();
        }
    }
};

/// Logs under the name of the method's function. Failures are kept out of the path of a call.
[[gnu::cold, gnu::noinline]] void log_failure(const master::MethodRow &method, const char *reason,
                                              int line = __builtin_LINE())
{
    call_log::error({method.name(), line}).text(reason);
}

template <FixedText Message>
[[gnu::cold, gnu::noinline]] void log_failure(const master::MethodRow &method, Format<Message> message, int err,
                                              int line = __builtin_LINE())
{
    call_log::error({method.name(), line})(message, err);
}

class MutexLock {
public:
    explicit MutexLock(GRecMutex &mutex) : mutex_(mutex) { g_rec_mutex_lock(&mutex_); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;
    ~MutexLock() { g_rec_mutex_unlock(&mutex_); }

private:
    GRecMutex &mutex_;
};

/// Puts an exchange behind those that already wait, and takes it out again. Exchanges nest, so it is the newest then.
class QueuePlace {
public:
    QueuePlace(PendingReply *&oldest, PendingReply &own) : end_(&oldest)
    {
        while (*end_)
            end_ = &(*end_)->newer;
        *end_ = &own;
    }
    QueuePlace(const QueuePlace &) = delete;
    QueuePlace &operator=(const QueuePlace &) = delete;
    ~QueuePlace() { *end_ = nullptr; }

private:
    PendingReply **end_;
};

/// Gives a reply to the oldest request that has none. A reply to no request is dropped.
void assign_reply(PendingReply *oldest, Parcel &reply)
{
    PendingReply *pending = oldest;
    while (pending && pending->parcel)
        pending = pending->newer;
    if (pending)
        pending->parcel = std::move(reply);
}

/// Every step that cannot be done ends the call with -1. The platform has control while it sends and while it waits: it
/// may raise events then, and their callbacks may destroy the proxy.
class Exchange {
public:
    Exchange(rpc_port_proxy_kv_master_h proxy, const master::MethodRow &method) : proxy_(proxy), method_(method) {}

    Outcome run(const Value *values)
    {
        if (!create_request() || !write_request(values))
            return {-1, false};
        const int status = send();
        if (proxy_->destroyed || !await_reply())
            return without_reply();
        return {read_reply(values, status), false};
    }

private:
    bool create_request();
    bool write_request(const Value *values);
    int send();
    bool await_reply();
    int read_reply(const Value *values, int status);
    Outcome without_reply();

    const ProxyReference proxy_;
    const master::MethodRow &method_;
    const rpc_port_h port_ = proxy_->port; // a disconnection clears the proxy's
    Parcel request_;
    PendingReply reply_;
};

bool Exchange::create_request()
{
    if (int err = rpc_port_parcel_create(request_.out()); err != 0) {
        log_failure(method_, "Failed to create parcel. result(%d)"_fmt, err);
        return false;
    }
    return true;
}

bool Exchange::write_request(const Value *values)
{
    bool whole = master::IntWire::write(request_.get(), method_.id);
    for (const ValueType *type = method_.values; whole && is_argument(*type); ++type, ++values) {
        whole = write(request_.get(), *type, *values);
        // From here on the proxy owns the delegate, whatever happens to the request: the agent may receive it.
        if (whole && *type == ValueType::delegate)
            proxy_->delegates = g_list_append(proxy_->delegates, values->delegate->release());
    }
    // The agent would read an incomplete request as another one.
    if (!whole)
        log_failure(method_, "Failed to write request");
    return whole;
}

/// Returns the status of the call if a reply arrives. After a failed send the reply is awaited all the same: what has
/// already arrived may be the answer.
int Exchange::send()
{
    const int err = rpc_port_parcel_send(request_.get(), port_);
    if (err != 0)
        log_failure(method_, "Failed to send parcel. result(%d)"_fmt, err);
    request_.destroy();
    return err == 0 ? 0 : -EIO;
}

/// Reads until this exchange has its reply. A nested exchange may read it first: the platform then ends the wait here.
bool Exchange::await_reply()
{
    const MutexLock lock{proxy_->mutex};
    const QueuePlace place{proxy_->oldest_pending, reply_};
    while (!reply_.parcel) {
        Parcel parcel;
        if (rpc_port_parcel_create_from_port(parcel.out(), port_) != 0 || proxy_->destroyed)
            break;
        int kind = -1;
        if (rpc_port_parcel_read_int32(parcel.get(), &kind) == 0 && kind == master::result)
            assign_reply(proxy_->oldest_pending, parcel);
    }
    return reply_.parcel && !proxy_->destroyed;
}

/// Returns the agent's result if the reply holds it behind all out values.
int Exchange::read_reply(const Value *values, int status)
{
    const ValueType *outs = method_.values;
    for (; is_argument(*outs); ++outs)
        ++values;
    OutValue read[max_outs(master::Methods{})];
    bool whole = true;
    for (int i = 0; whole && outs[i] != ValueType::end; ++i)
        whole = read[i].read(reply_.parcel.get(), outs[i]);
    int result = -1;
    if (!whole || !master::IntWire::read(reply_.parcel.get(), result)) {
        log_failure(method_, "Incomplete reply");
        result = -1;
    }
    reply_.parcel.destroy();
    set_last_result(status);
    for (int i = 0; result == 0 && outs[i] != ValueType::end; ++i)
        read[i].store(outs[i], values[i].out);
    return result;
}

[[gnu::cold, gnu::noinline]] Outcome Exchange::without_reply()
{
    if (proxy_->destroyed) {
        log_failure(method_, "The proxy was destroyed inside the call");
        set_last_result(0);
        return {-1, true};
    }
    log_failure(method_, "Invalid protocol");
    set_last_result(-EIO);
    return {-1, false};
}

/// Of the arguments only a text may be null: it is sent as the empty text.
bool are_given(const master::MethodRow &method, const Value *values)
{
    for (const ValueType *type = method.values; *type != ValueType::end; ++type, ++values) {
        const bool may_be_null = is_argument(*type) && *type < ValueType::parcelable;
        if (!may_be_null && (!values->out || (*type == ValueType::delegate && !*values->delegate)))
            return false;
    }
    return true;
}

} // namespace

Outcome exchange(rpc_port_proxy_kv_master_h handle, const master::MethodRow &method, const Value *values)
{
    const char *reason = nullptr;
    if (!handle || !are_given(method, values))
        reason = "Invalid parameter";
    else if (!handle->port)
        reason = "Not connected";
    if (reason) {
        log_failure(method, reason);
        return {-1, false};
    }
    return Exchange{handle, method}.run(values);
}

} // namespace kv::proxy
