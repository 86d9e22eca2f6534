// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "src/kv_master/interface.hpp"

/// The types of described values as JSON, for forms that ask for them: {"name","type"}, with "fields" for a record and
/// "item" for an array.
namespace kv::virtual_agent {

inline Json named_shape(const char *name, const char *type)
{
    return std::move(Json::object().set("name", name).set("type", type));
}

template <FixedText Name>
Json shape(describe::Int32<Name>)
{
    return named_shape(Name.text, "int32");
}
template <FixedText Name>
Json shape(describe::Bool<Name>)
{
    return named_shape(Name.text, "bool");
}
template <FixedText Name>
Json shape(describe::String<Name>)
{
    return named_shape(Name.text, "string");
}
template <FixedText Name>
Json shape(describe::Secret<Name>)
{
    return std::move(named_shape(Name.text, "string").set("secret", true));
}
template <const auto &Documents, FixedText Name>
Json shape(describe::DocumentText<Documents, Name>)
{
    Json text = named_shape(Name.text, "string");
    if (master::may_hold_secrets(Documents))
        text.set("secret", true);
    return text;
}
template <class D>
Json shape(describe::Callback<D>)
{
    return named_shape(D::name, "callback");
}

template <class R>
Json record_shape(const char *name, R)
{
    Json fields = Json::array();
    describe::for_each(typename R::fields{}, [&]<class F>() { fields.append(shape(typename F::element{})); });
    Json whole = named_shape(name, "record");
    whole.set("record", R::name).set("fields", std::move(fields));
    return whole;
}
template <class R, FixedText Name>
Json shape(describe::Rec<R, Name>)
{
    return record_shape(Name.text, R{});
}

template <FixedText Name, class R>
Json item_shape(describe::RecordArray<Name, R>)
{
    return record_shape("item", R{});
}
template <FixedText Name>
Json item_shape(describe::IntArray<Name>)
{
    return named_shape("item", "int32");
}
template <class A, FixedText Name>
Json shape(describe::Arr<A, Name>)
{
    return std::move(named_shape(Name.text, "array").set("item", item_shape(A{})));
}

template <class... E>
Json shapes(describe::In<E...>)
{
    Json all = Json::array();
    (all.append(shape(E{})), ...);
    return all;
}
template <class... E>
Json shapes(describe::Out<E...>)
{
    return shapes(describe::In<E...>{});
}

} // namespace kv::virtual_agent
