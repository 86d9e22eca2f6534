// SPDX-License-Identifier: Apache-2.0
#include "invoke.hpp"

#include "src/kv_master/parcel.hpp"

#include <last_result.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kv::proxy {

namespace {

using call_log = LogOf<"rpc_port_proxy_kv_master_invoke_">;

template <class... M>
constexpr int most_outs(describe::List<M...>)
{
    return std::max({M::out::count...});
}

bool write(rpc_port_parcel_h parcel, char letter, const Value &value)
{
    switch (letter) {
    case letter_of::number: return IntWire::write(parcel, value.number);
    case letter_of::flag: return BoolWire::write(parcel, value.flag);
    case letter_of::text: return TextWire::write(parcel, value.text);
    default: return write_parcelable(parcel, value.parcelable);
    }
}

/// An out value until the whole reply has been read.
struct Held {
    int number = 0;
    bool flag = false;
    CText text;

    bool read(rpc_port_parcel_h parcel, char letter)
    {
        switch (letter) {
        case letter_of::number: return IntWire::read(parcel, number);
        case letter_of::flag: return BoolWire::read(parcel, flag);
        default: return TextWire::read(parcel, text);
        }
    }

    void hand_out(char letter, void *out)
    {
        switch (letter) {
        case letter_of::number: *static_cast<int *>(out) = number; break;
        case letter_of::flag: *static_cast<bool *>(out) = flag; break;
        default: *static_cast<char **>(out) = text.release();
        }
    }
};

/// Any step that cannot be done ends the call with -1.
class Exchange {
public:
    Exchange(rpc_port_proxy_kv_master_h handle, const char *method_text)
        : handle_(handle), id_(*method_text), signature_(method_text + 1)
    {
    }

    int run(const Value *values)
    {
        if (!begin(values) || !write_request(values))
            return -1;
        send();
        return await_reply() ? read_reply() : -1;
    }

private:
    /// Who logs: the named function of the method.
    Caller self(int line = __builtin_LINE()) const { return {signature_ + strlen(signature_) + 1, line}; }

    bool begin(const Value *values);
    bool write_request(const Value *values);
    bool write_arguments(const Value *values);
    void send();
    bool await_reply();
    int read_reply();

    rpc_port_proxy_kv_master_h handle_;
    int id_;
    const char *signature_;
    Parcel request_;
    Parcel reply_;
    int status_ = 0;
    // Where the out values begin, once the arguments have been written.
    const char *outs_ = nullptr;
    const Value *out_values_ = nullptr;
};

/// Of arguments only text may be missing: it crosses as the empty text.
bool Exchange::begin(const Value *values)
{
    bool valid = handle_ != nullptr;
    for (const char *letter = signature_; *letter; ++letter, ++values)
        if (!is_argument(*letter) || *letter == letter_of::parcelable || *letter == letter_of::delegate)
            valid = valid && values->out;
    if (!valid) {
        call_log::error(self())("Invalid parameter"_fmt);
        return false;
    }
    if (!handle_->port) {
        call_log::error(self())("Not connected"_fmt);
        return false;
    }
    if (int err = rpc_port_parcel_create(request_.out()); err != 0) {
        call_log::error(self())("Failed to create parcel. result(%d)"_fmt, err);
        return false;
    }
    return true;
}

bool Exchange::write_request(const Value *values)
{
    if (IntWire::write(request_.get(), id_) && write_arguments(values))
        return true;
    // A request that is not whole would be taken for another one.
    call_log::error(self())("Failed to write request"_fmt);
    return false;
}

bool Exchange::write_arguments(const Value *values)
{
    const char *letter = signature_;
    for (; is_argument(*letter); ++letter, ++values) {
        if (!write(request_.get(), *letter, *values))
            return false;
        // From here on the proxy owns the delegate, whatever becomes of the request: the agent may hear of it.
        if (*letter == letter_of::delegate) {
            auto *delegate = static_cast<Delegate *>(values->parcelable);
            delegate->listed = true;
            handle_->delegates = g_list_append(handle_->delegates, delegate);
        }
    }
    outs_ = letter;
    out_values_ = values;
    return true;
}

/// A failed send is remembered, and the reply awaited all the same: what has already arrived may be the answer.
void Exchange::send()
{
    if (int err = rpc_port_parcel_send(request_.get(), handle_->port); err != 0) {
        call_log::error(self())("Failed to send parcel. result(%d)"_fmt, err);
        status_ = -EIO;
    }
    request_.destroy();
}

/// The mutex stays locked when there is one.
bool Exchange::await_reply()
{
    g_rec_mutex_lock(&handle_->mutex);
    while (rpc_port_parcel_create_from_port(reply_.out(), handle_->port) == 0) {
        int kind = -1;
        if (rpc_port_parcel_read_int32(reply_.get(), &kind) == 0 && kind == master::result)
            return true;
        reply_.destroy();
    }
    call_log::error(self())("Invalid protocol"_fmt);
    g_rec_mutex_unlock(&handle_->mutex);
    set_last_result(-EIO);
    return false;
}

/// The agent's result, if the reply holds it after out values that were all there.
int Exchange::read_reply()
{
    Held held[most_outs(master::Methods{})];
    bool complete = true;
    for (int i = 0; complete && outs_[i]; ++i)
        complete = held[i].read(reply_.get(), argument_letter(outs_[i]));
    int result = -1;
    if (!complete || !IntWire::read(reply_.get(), result)) {
        call_log::error(self())("Incomplete reply"_fmt);
        result = -1;
    }
    reply_.destroy();
    g_rec_mutex_unlock(&handle_->mutex);
    set_last_result(status_);
    for (int i = 0; result == 0 && outs_[i]; ++i)
        held[i].hand_out(argument_letter(outs_[i]), out_values_[i].out);
    return result;
}

} // namespace

int invoke(rpc_port_proxy_kv_master_h handle, const char *method_text, const Value *values)
{
    return Exchange{handle, method_text}.run(values);
}

} // namespace kv::proxy
