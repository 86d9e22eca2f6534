// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "masking.hpp"
#include "parcel.hpp"

/// Shows decoded values in the log, the journal and the state: by name, secrets masked, long ones cut.
namespace kv::virtual_agent {

inline constexpr std::size_t max_shown_text = 1024;
inline constexpr int max_shown_items = 32;

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
Json show(describe::String<Name>, const char *text)
{
    const std::string_view whole = text ? text : "";
    if (whole.size() <= max_shown_text)
        return whole;
    return std::string{whole.substr(0, max_shown_text)} + "... (" + std::to_string(whole.size()) + " bytes)";
}

/// Whether a secret text is a document, whose harmless members may be shown.
consteval bool is_document(std::string_view name)
{
    return name == "request" || name == "ap_info" || name == "token_info";
}

template <FixedText Name>
Json show(describe::Secret<Name>, const char *text)
{
    if constexpr (is_document(Name.text))
        return show_document(text);
    else
        return show_masked(text);
}

inline const char *shown_form(const CText &text)
{
    return text.get();
}
inline int shown_form(int number)
{
    return number;
}

template <class R>
Json show_record(const typename R::type &record)
{
    Json fields = Json::object();
    describe::for_each(typename R::fields{}, [&]<class F>() {
        fields.set(F::element::name, show(typename F::element{}, shown_form(record.*F::member)));
    });
    return fields;
}

template <class R, FixedText Name>
Json show(describe::Rec<R, Name>, const typename R::type *record)
{
    return show_record<R>(*record);
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
Json show(describe::Arr<A, Name>, const master::ArrayValue<A> *array)
{
    Json items = Json::array();
    for (int i = 0; i < array->present; ++i) {
        if (i == max_shown_items) {
            items.append("... (" + std::to_string(array->present) + " items)");
            break;
        }
        items.append(show_item(A{}, array->items[i]));
    }
    return items;
}

template <class D>
Json show(describe::Callback<D>, const AnyDelegate &delegate)
{
    return std::move(Json::object().set("seq_id", delegate.seq_id).set("once", delegate.once));
}

template <class... E, class... Values>
Json show_all(describe::In<E...>, const Values &...values)
{
    Json shown = Json::object();
    (shown.set(E::name, show(E{}, values)), ...);
    return shown;
}

} // namespace kv::virtual_agent
