// SPDX-License-Identifier: Apache-2.0
#include "trace_reader.hpp"

#include "tools/ctl/output/failure.hpp"
#include "tools/ctl/output/output.hpp"

#include "src/kv_master/array_codec.hpp"
#include "src/kv_master/interface.hpp"

#include <rpc_port_stub.h>

#include <cstring>
#include <memory>
#include <vector>

namespace kv::ctl {

namespace {

using proxy::Wire;

struct DestroyParcel {
    using pointer = rpc_port_parcel_h;
    void operator()(rpc_port_parcel_h parcel) const { rpc_port_parcel_destroy(parcel); }
};
using Parcel = std::unique_ptr<void, DestroyParcel>;

// Each shows a value that was read. Secrets are only measured.

Json show_text(const char *text)
{
    return text ? Json(text) : Json("");
}

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
    return show_text(text.get());
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
Json show(describe::Rec<R, Name>, const proxy::Owned<typename R::type> &record)
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
Json show(describe::Arr<A, Name>, const proxy::Owned<proxy::ArrayValue<A>> &array)
{
    Json items = Json::array();
    for (int i = 0; i < array->present; ++i)
        items.push_back(show_item(A{}, array->items[i]));
    return items;
}

/// Reads one element and puts it among the values; false when it is not there.
template <class Element>
bool take(rpc_port_parcel_h parcel, Json &values)
{
    typename Wire<Element>::Held held{};
    if (!Wire<Element>::read(parcel, held))
        return false;
    values[Element::name] = show(Element{}, held);
    return true;
}

template <class Element>
struct Take {
    static bool from(rpc_port_parcel_h parcel, Json &values) { return take<Element>(parcel, values); }
};
template <class D>
struct Take<describe::Callback<D>> {
    static bool from(rpc_port_parcel_h parcel, Json &values)
    {
        int id = 0;
        int number = 0;
        bool once = false;
        const bool whole = rpc_port_parcel_read_int32(parcel, &id) == 0 &&
                           rpc_port_parcel_read_int32(parcel, &number) == 0 &&
                           rpc_port_parcel_read_bool(parcel, &once) == 0;
        values[D::name] = {{"seq_id", number}, {"once", once}};
        return whole;
    }
};

template <template <class...> class List, class... Elements>
bool take_all(List<Elements...>, [[maybe_unused]] rpc_port_parcel_h parcel, [[maybe_unused]] Json &values)
{
    return (Take<Elements>::from(parcel, values) && ...);
}

/// A method or a delegate: what its parcels hold behind their heads.
struct Entry {
    const char *name;
    bool (*take_in)(rpc_port_parcel_h parcel, Json &values);
    bool (*take_out)(rpc_port_parcel_h parcel, Json &values);
};

const std::map<int, Entry> &methods()
{
    static const std::map<int, Entry> all = [] {
        std::map<int, Entry> entries;
        describe::for_each(master::Methods{}, [&]<class M>() {
            entries[M::id] = {
                M::name, [](rpc_port_parcel_h parcel, Json &in) { return take_all(typename M::in{}, parcel, in); },
                [](rpc_port_parcel_h parcel, Json &out) { return take_all(typename M::out{}, parcel, out); }};
        });
        return entries;
    }();
    return all;
}

const std::map<int, Entry> &delegates()
{
    static const std::map<int, Entry> all = [] {
        std::map<int, Entry> entries;
        describe::for_each(master::Delegates{}, [&]<class D>() {
            entries[D::id] = {
                D::name, [](rpc_port_parcel_h parcel, Json &in) { return take_all(typename D::values{}, parcel, in); },
                nullptr};
        });
        return entries;
    }();
    return all;
}

const Entry *find(const std::map<int, Entry> &entries, int id)
{
    const auto found = entries.find(id);
    return found == entries.end() ? nullptr : &found->second;
}

std::string name_of(const Entry *entry, int id)
{
    return entry ? entry->name : "unknown " + std::to_string(id);
}

/// What stands behind what could be read.
void note_rest(rpc_port_parcel_h parcel, bool whole, Json &facts)
{
    bool more = false;
    if (!whole)
        facts["problem"] = "cut short or wrongly made";
    else if (rpc_port_parcel_read_bool(parcel, &more) != -ENODATA)
        facts["problem"] = "longer than it must be";
}

} // namespace

void TraceReader::take(const char *bytes, std::size_t size)
{
    bytes_.append(bytes, size);
    std::size_t at = 0;
    rpc_port_trace_record_t record{};
    while (bytes_.size() - at >= sizeof record) {
        std::memcpy(&record, bytes_.data() + at, sizeof record);
        if (record.magic != RPC_PORT_TRACE_MAGIC)
            throw Failure{failed,
                          "this is no trace: record " + std::to_string(records_ + 1) + " does not begin like one"};
        if (bytes_.size() - at - sizeof record < record.size)
            break;
        tell(record, bytes_.data() + at + sizeof record);
        ++records_;
        at += sizeof record + record.size;
    }
    bytes_.erase(0, at);
}

void TraceReader::tell(const rpc_port_trace_record_t &record, const char *payload)
{
    rpc_port_parcel_h made = nullptr;
    if (rpc_port_parcel_create_from_raw(&made, payload, record.size) != 0)
        throw std::bad_alloc{};
    const Parcel parcel{made};
    const bool main = record.link == RPC_PORT_TRACE_CALLER_MAIN || record.link == RPC_PORT_TRACE_SERVER_MAIN;
    const bool from_caller = (record.link == RPC_PORT_TRACE_CALLER_MAIN) == (record.sent == 1);
    const std::pair<unsigned, unsigned> port{record.process, record.port};

    Json facts{{"time_us", record.time_us}, {"pid", record.process}, {"bytes", record.size}};
    Json values = Json::object();
    std::string words = time_of_day(record.time_us) + "  ";
    int id = -1;
    bool whole = rpc_port_parcel_read_int32(parcel.get(), &id) == 0;
    if (main && from_caller) {
        const Entry *method = find(methods(), id);
        asked_[port] = {id, record.time_us};
        whole = whole && method && method->take_in(parcel.get(), values);
        facts["request"] = name_of(method, id);
        facts["id"] = id;
        facts["arguments"] = values;
        words += "->  " + name_of(method, id) + "(" + in_words(values) + ")";
    } else if (main && id == master::result) {
        const auto asked = asked_.find(port);
        const int method_id = asked == asked_.end() ? -1 : asked->second.method;
        const Entry *method = find(methods(), method_id);
        int result = 0;
        whole = whole && method && method->take_out(parcel.get(), values);
        whole = whole && rpc_port_parcel_read_int32(parcel.get(), &result) == 0;
        if (whole)
            values["result"] = result;
        facts["reply"] = asked == asked_.end() ? "to a request before the trace" : name_of(method, method_id);
        facts["answer"] = values;
        words += "<-  " + facts["reply"].get<std::string>() + ": " + in_words(values);
        if (asked != asked_.end()) {
            const std::int64_t took_us = record.time_us - asked->second.time_us;
            facts["duration_us"] = took_us;
            words += "  (" + std::to_string(took_us) + " us)";
            asked_.erase(asked);
        }
    } else if (!main && id == master::callback) {
        int event = -1;
        int number = 0;
        bool once = false;
        whole = whole && rpc_port_parcel_read_int32(parcel.get(), &event) == 0 &&
                rpc_port_parcel_read_int32(parcel.get(), &number) == 0 &&
                rpc_port_parcel_read_bool(parcel.get(), &once) == 0;
        const Entry *delegate = find(delegates(), event);
        whole = whole && delegate && delegate->take_in(parcel.get(), values);
        facts["event"] = name_of(delegate, event);
        facts["seq_id"] = number;
        facts["once"] = once;
        facts["values"] = values;
        words += "<=  " + name_of(delegate, event) + "(" + in_words(values) + ")";
    } else {
        facts["unknown"] = id;
        whole = false;
        words += "??  a parcel of kind " + std::to_string(id);
    }
    note_rest(parcel.get(), whole, facts);
    if (facts.contains("problem"))
        words += "  [" + facts["problem"].get<std::string>() + ", " + std::to_string(record.size) + " bytes]";
    tell_(words, facts);
}

} // namespace kv::ctl
