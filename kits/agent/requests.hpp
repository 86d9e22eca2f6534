// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"
#include "src/kv_master/array_codec.hpp"

#include <optional>
#include <string>

/// Requests with a value for each argument that the interface describes, and their replies.
namespace kv::agent_kit {

/// The condition that a reply must meet beside matching the description of its method.
enum class Expected { any_result, success, refusal };

/// A JSON text with every member of the document that an agent of this version knows.
std::string sample_document(const master::Document &document);
/// The same for a request of the generic method: the command with the lowest number.
template <int Count>
std::string sample_document(const master::Command *const (&commands)[Count])
{
    return sample_document(*commands[0]);
}

/// Writes the arguments of a request, one per call.
struct ArgumentWriter {
    rpc_port_parcel_h parcel;
    Connection &connection;
    bool once; // for delegates
    std::vector<master::AnyDelegate> delegates{};

    template <FixedText Name>
    bool write(describe::Int32<Name>)
    {
        return master::IntWire::write(parcel, 0);
    }
    template <FixedText Name>
    bool write(describe::Bool<Name>)
    {
        return master::BoolWire::write(parcel, false);
    }
    template <FixedText Name>
    bool write(describe::String<Name>)
    {
        return master::TextWire::write(parcel, "kit");
    }
    template <const auto &Documents, FixedText Name>
    bool write(describe::DocumentText<Documents, Name>)
    {
        return master::TextWire::write(parcel, sample_document(Documents).c_str());
    }
    template <class R, FixedText Name>
    bool write(describe::Rec<R, Name>)
    {
        typename master::Wire<describe::Rec<R, Name>>::Received record;
        record.reset(master::RecordCodec<R>::create());
        return record && master::write_parcelable(parcel, record.get());
    }
    template <class A, FixedText Name>
    bool write(describe::Arr<A, Name>)
    {
        typename master::Wire<describe::Arr<A, Name>>::Received array;
        array.reset(master::ArrayCodec<A>::create());
        if (!array)
            return false;
        array->count = 1;
        if (!array->reserve_next() || !master::ItemCodec<A>::make(array->items[0]))
            return false;
        array->present = 1;
        return master::write_parcelable(parcel, array.get());
    }
    template <class D>
    bool write(describe::Callback<D>)
    {
        const master::AnyDelegate delegate = connection.new_delegate(D::id, once);
        delegates.push_back(delegate);
        return master::IntWire::write(parcel, delegate.id) && master::IntWire::write(parcel, delegate.seq_id) &&
               master::BoolWire::write(parcel, delegate.once);
    }

    /// Writes the first `count` arguments.
    template <class... E>
    bool write_first(describe::In<E...>, int count)
    {
        int index = 0;
        return ((index++ >= count || write(E{})) && ...);
    }
};

/// Sends a request with the first `count` arguments. Returns its delegates; no value, and a failed check, on failure.
template <class Method>
std::optional<std::vector<master::AnyDelegate>> send_request(Connection &connection, bool once = false,
                                                             int count = Method::in::count)
{
    master::Parcel request;
    rpc_port_parcel_create(request.out());
    ArgumentWriter arguments{request.get(), connection, once};
    if (!request || !master::IntWire::write(request.get(), Method::id) ||
        !arguments.write_first(typename Method::in{}, count)) {
        g_test_fail_printf("cannot write the request");
        return {};
    }
    if (!connection.send(request))
        return {};
    return arguments.delegates;
}

/// Reads the kind of a reply. Returns false, and fails the check, for another kind.
bool read_reply_kind(const master::Parcel &reply);
/// Reads the result of a reply, with which it must end. No value, and a failed check, otherwise.
std::optional<int> read_result(const master::Parcel &reply, Expected expected);

template <class... E>
bool read_outs(describe::Out<E...>, [[maybe_unused]] const master::Parcel &reply)
{
    return ([&] {
        typename master::Wire<E>::Received value{};
        if (master::Wire<E>::read(reply.get(), value))
            return true;
        g_test_fail_printf("the out value '%s' is missing or malformed", E::name);
        return false;
    }() && ...);
}

/// Reads the reply of a method: kind, out values, result, and nothing more.
template <class Method>
std::optional<int> read_reply(Connection &connection, Expected expected = Expected::any_result)
{
    master::Parcel reply;
    if (!connection.read(reply) || !read_reply_kind(reply) || !read_outs(typename Method::out{}, reply))
        return {};
    return read_result(reply, expected);
}

} // namespace kv::agent_kit
