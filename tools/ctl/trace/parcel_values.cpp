// SPDX-License-Identifier: Apache-2.0
#include "parcel_values.hpp"

#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/interface.hpp"

#include <rpc_port_stub.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <new>

namespace kv::ctl {

namespace {

using master::Wire;

static_assert(ParcelValues::reply_kind == master::result && ParcelValues::event_kind == master::callback);

// ---- Rendering of values; a shared renderer is to replace it. ----

template <FixedText Name>
Json show(describe::Int32<Name>, int value)
{
    return value;
}
template <FixedText Name>
Json show(describe::Bool<Name>, bool value)
{
    return value;
}
template <FixedText Name>
Json show(describe::String<Name>, const CText &text)
{
    return text ? Json(text.get()) : Json("");
}
template <FixedText Name>
Json show(describe::Secret<Name>, const CText &text)
{
    return "<secret, " + std::to_string(text ? std::strlen(text.get()) : 0) + " bytes>";
}

template <class R>
Json show_record(const typename R::type &record)
{
    Json fields = Json::object();
    describe::for_each(typename R::fields{},
                       [&]<class F>() { fields[F::element::name] = show(typename F::element{}, record.*F::member); });
    return fields;
}
template <class R, FixedText Name>
Json show(describe::Rec<R, Name>, const Owned<typename R::type> &record)
{
    return show_record<R>(*record.get());
}

template <FixedText Name, class R>
Json show_item(describe::RecordArray<Name, R>, const typename R::type *item)
{
    return show_record<R>(*item);
}
template <FixedText Name>
Json show_item(describe::IntArray<Name>, int item)
{
    return item;
}
template <class A, FixedText Name>
Json show(describe::Arr<A, Name>, const Owned<master::ArrayValue<A>> &array)
{
    Json items = Json::array();
    for (int i = 0; i < array->present; ++i)
        items.push_back(show_item(A{}, array->items[i]));
    return items;
}

// ---- Reading elements in the order of the description. Each returns false if its element is missing or malformed. ----

template <class Element>
struct ReadElement {
    static bool from(rpc_port_parcel_h parcel, Json &values)
    {
        typename Wire<Element>::Received held{};
        if (!Wire<Element>::read(parcel, held))
            return false;
        values[Element::name] = show(Element{}, held);
        return true;
    }
};
template <class D>
struct ReadElement<describe::Callback<D>> {
    static bool from(rpc_port_parcel_h parcel, Json &values)
    {
        int id = 0;
        int seq_id = 0;
        bool once = false;
        const bool whole = rpc_port_parcel_read_int32(parcel, &id) == 0 &&
                           rpc_port_parcel_read_int32(parcel, &seq_id) == 0 &&
                           rpc_port_parcel_read_bool(parcel, &once) == 0;
        values[D::name] = {{"seq_id", seq_id}, {"once", once}};
        return whole;
    }
};

template <template <class...> class List, class... Elements>
bool read_all(List<Elements...>, [[maybe_unused]] rpc_port_parcel_h parcel, [[maybe_unused]] Json &values)
{
    return (ReadElement<Elements>::from(parcel, values) && ...);
}

using Read = bool (*)(rpc_port_parcel_h parcel, Json &values);

struct Method {
    const char *name;
    Read read_in;
    Read read_out;
};
struct Delegate {
    const char *name;
    Read read_values;
};

const std::map<int, Method> &methods()
{
    static const std::map<int, Method> all = [] {
        std::map<int, Method> table;
        describe::for_each(master::Methods{}, [&]<class M>() {
            table[M::id] = {
                M::name, [](rpc_port_parcel_h parcel, Json &in) { return read_all(typename M::in{}, parcel, in); },
                [](rpc_port_parcel_h parcel, Json &out) { return read_all(typename M::out{}, parcel, out); }};
        });
        return table;
    }();
    return all;
}

const std::map<int, Delegate> &delegates()
{
    static const std::map<int, Delegate> all = [] {
        std::map<int, Delegate> table;
        describe::for_each(master::Delegates{}, [&]<class D>() {
            table[D::id] = {
                D::name, [](rpc_port_parcel_h parcel, Json &in) { return read_all(typename D::values{}, parcel, in); }};
        });
        return table;
    }();
    return all;
}

template <class Row>
const Row *find(const std::map<int, Row> &table, int id)
{
    const auto found = table.find(id);
    return found == table.end() ? nullptr : &found->second;
}

template <class Row>
std::string name_in(const std::map<int, Row> &table, int id)
{
    const Row *row = find(table, id);
    return row ? row->name : "unknown " + std::to_string(id);
}

} // namespace

std::string method_name(int id)
{
    return name_in(methods(), id);
}

ParcelValues::ParcelValues(const char *bytes, std::size_t size)
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_raw(&parcel, bytes, static_cast<unsigned>(size)) != 0)
        throw std::bad_alloc{};
    parcel_ = {parcel, rpc_port_parcel_destroy};
}

int ParcelValues::int32()
{
    int value = -1;
    whole_ = whole_ && rpc_port_parcel_read_int32(parcel_.get(), &value) == 0;
    return value;
}

Json ParcelValues::request_arguments(int method)
{
    Json values = Json::object();
    const Method *known = find(methods(), method);
    whole_ = whole_ && known && known->read_in(parcel_.get(), values);
    return values;
}

Json ParcelValues::reply_values(int method)
{
    Json values = Json::object();
    const Method *known = find(methods(), method);
    whole_ = whole_ && known && known->read_out(parcel_.get(), values);
    const int result = int32();
    if (whole_)
        values["result"] = result;
    return values;
}

ParcelValues::Event ParcelValues::event()
{
    Event event{"", 0, false, Json::object()};
    const int id = int32();
    event.name = name_in(delegates(), id);
    int seq_id = 0;
    whole_ = whole_ && rpc_port_parcel_read_int32(parcel_.get(), &seq_id) == 0 &&
             rpc_port_parcel_read_bool(parcel_.get(), &event.once) == 0;
    event.seq_id = seq_id;
    const Delegate *known = find(delegates(), id);
    whole_ = whole_ && known && known->read_values(parcel_.get(), event.values);
    return event;
}

std::string ParcelValues::problem() const
{
    bool rest = false;
    if (!whole_)
        return "cut short or malformed";
    return rpc_port_parcel_read_bool(parcel_.get(), &rest) == -ENODATA ? "" : "longer than it must be";
}

} // namespace kv::ctl
