// SPDX-License-Identifier: Apache-2.0
#include "parcel_values.hpp"

#include "src/kv_master/shown_call.hpp"

#include <rpc_port_stub.h>

#include <cerrno>
#include <limits>
#include <new>

namespace kv::ctl {

namespace {

static_assert(ParcelValues::reply_kind == master::result && ParcelValues::event_kind == master::callback);

/// Traces show whole values.
struct TraceFormat {
    using Json = ctl::Json;
    static constexpr std::size_t max_text = std::numeric_limits<std::size_t>::max();
    static constexpr int max_items = std::numeric_limits<int>::max();

    static Json text(std::string_view text) { return text; }
    static Json number(double number) { return number_of(number); }
    static Json object() { return Json::object(); }
    static Json array() { return Json::array(); }
    static void set(Json &object, const char *name, Json value) { object[name] = std::move(value); }
    static void append(Json &array, Json value) { array.push_back(std::move(value)); }
};

using Shown = ShownCall<TraceFormat>;

template <class List>
std::string name_in(List list, int id)
{
    std::string name = unknown_name + std::to_string(id);
    describe::visit_id(list, id, [&name]<class D>() { name = D::name; });
    return name;
}

} // namespace

std::string method_name(int id)
{
    return name_in(master::Methods{}, id);
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
    bool decoded = false;
    describe::visit_id(master::Methods{}, method,
                       [&]<class M>() { decoded = Shown::arguments<M>(parcel_.get(), values); });
    whole_ = whole_ && decoded;
    return values;
}

Json ParcelValues::reply_values(int method)
{
    Json values = Json::object();
    bool decoded = false;
    describe::visit_id(master::Methods{}, method, [&]<class M>() { decoded = Shown::reply<M>(parcel_.get(), values); });
    whole_ = whole_ && decoded;
    return values;
}

ParcelValues::Event ParcelValues::event()
{
    Event event{"", 0, false, Json::object()};
    const int id = int32();
    event.name = name_in(master::Delegates{}, id);
    event.seq_id = int32();
    whole_ = whole_ && rpc_port_parcel_read_bool(parcel_.get(), &event.once) == 0;
    bool decoded = false;
    if (whole_)
        describe::visit_id(master::Delegates{}, id,
                           [&]<class D>() { decoded = Shown::event<D>(parcel_.get(), event.values); });
    whole_ = whole_ && decoded;
    return event;
}

std::string_view ParcelValues::problem() const
{
    bool rest = false;
    if (!whole_)
        return malformed;
    return rpc_port_parcel_read_bool(parcel_.get(), &rest) == -ENODATA ? "" : "longer than it must be";
}

} // namespace kv::ctl
