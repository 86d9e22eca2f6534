// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "array_codec.hpp"
#include "delegate_codec.hpp"
#include "interface.hpp"

#include <cjson/cJSON.h>
#include <glib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

/// Shows calls and events: by name and value, secrets masked. Journals, traces and views of the agent's state all show
/// values through this header, so it alone decides what a reader may see. The library does not use it.
namespace kv {

/// The JSON type of the program that shows values, and how much of a value it shows.
template <class F>
concept ShowFormat = requires(typename F::Json json, const char *name)
{
    json = F::object();
    F::set(json, name, F::text(std::string_view{}));
    F::set(json, name, F::number(double{}));
    json = F::array();
    F::append(json, true);
    F::append(json, 1);
    F::append(json, typename F::Json{}); // null
    std::size_t{F::max_text};            // bytes; of a longer text the beginning is shown
    int{F::max_items};                   // of a longer array the beginning is shown
};

template <ShowFormat Format>
struct ShownCall {
    using Json = typename Format::Json;

    // A request, a reply or an event, read from a parcel behind its head: the id of a request, the kind of a reply, the
    // delegate of an event. The values are added to `shown` up to the first one that is missing or malformed; the
    // functions return false if there is one.

    template <class Method>
    static bool arguments(rpc_port_parcel_h parcel, Json &shown)
    {
        return read_all(typename Method::in{}, parcel, shown);
    }

    /// The out values and, as "result", the agent's result.
    template <class Method>
    static bool reply(rpc_port_parcel_h parcel, Json &shown)
    {
        return read_all(typename Method::out{}, parcel, shown) && read(describe::Int32<"result">{}, parcel, shown);
    }

    template <class Delegate>
    static bool event(rpc_port_parcel_h parcel, Json &shown)
    {
        return read_all(typename Delegate::values{}, parcel, shown);
    }

    /// Values that are decoded already, by name.
    template <class... E, class... Values>
    static Json values(describe::In<E...>, const Values &...values)
    {
        Json shown = Format::object();
        (Format::set(shown, E::name, value(E{}, values)), ...);
        return shown;
    }

    // A value by its element.

    template <FixedText Name>
    static Json value(describe::Int32<Name>, int number)
    {
        return number;
    }

    template <FixedText Name>
    static Json value(describe::Bool<Name>, bool flag)
    {
        return flag;
    }

    template <FixedText Name>
    static Json value(describe::String<Name>, const char *text)
    {
        const std::string_view whole = text ? text : "";
        if (whole.size() <= Format::max_text)
            return Format::text(whole);
        return Format::text(std::string{whole.substr(0, Format::max_text)} + "... (" + std::to_string(whole.size()) +
                            " bytes)");
    }

    template <FixedText Name>
    static Json value(describe::Secret<Name>, const char *text)
    {
        return secret(text);
    }

    /// A document without secrets is shown as the text that it is.
    template <const auto &Documents, FixedText Name>
    static Json value(describe::DocumentText<Documents, Name>, const char *text)
    {
        if constexpr (master::may_hold_secrets(Documents))
            return document(Documents, text);
        else
            return value(describe::String<Name>{}, text);
    }

    template <class R, FixedText Name>
    static Json value(describe::Rec<R, Name>, const typename R::type *record)
    {
        return item(R{}, record);
    }

    template <class A, FixedText Name>
    static Json value(describe::Arr<A, Name>, const master::ArrayValue<A> *array)
    {
        Json items = Format::array();
        for (int i = 0; i < array->present; ++i) {
            if (i == Format::max_items) {
                Format::append(items, Format::text("... (" + std::to_string(array->present) + " items)"));
                break;
            }
            Format::append(items, item(A{}, array->items[i]));
        }
        return items;
    }

    template <class D>
    static Json value(describe::Callback<D>, const master::AnyDelegate &delegate)
    {
        Json shown = Format::object();
        Format::set(shown, "seq_id", delegate.seq_id);
        Format::set(shown, "once", delegate.once);
        return shown;
    }

    /// A secret by its length, as "<secret, 12 bytes>".
    static Json secret(const char *text)
    {
        return Format::text("<secret, " + std::to_string(text ? std::strlen(text) : 0) + " bytes>");
    }

    /// The text of a described document, member by member. Members that are not described may be secrets, and so may
    /// objects in place of a described scalar. A text that is too long or not a JSON object is masked as a whole; so is
    /// a document that consists of secrets only.
    static Json document(const master::Document &description, const char *text)
    {
        const Parsed object = parsed(text);
        if (!object || master::holds_only_secrets(description))
            return secret(text);
        return members(description, object.get());
    }

    /// The same for a text that holds one of several commands, which its number selects.
    template <int Count>
    static Json document(const master::Command *const (&commands)[Count], const char *text)
    {
        const Parsed object = parsed(text);
        if (!object)
            return secret(text);
        const cJSON *number = cJSON_GetObjectItemCaseSensitive(object.get(), master::commands::number.key);
        const auto *found = std::find_if(commands, commands + Count, [number](const master::Command *command) {
            return cJSON_IsNumber(number) && command->number == number->valueint;
        });
        const master::Document &known = found == commands + Count ? master::commands::unknown::document : **found;
        return members(known, object.get());
    }

private:
    static constexpr std::size_t max_document = 4096; // bytes of text

    using Parsed = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

    // Reading.

    template <class Element>
    static bool read(Element element, rpc_port_parcel_h parcel, Json &shown)
    {
        using Codec = master::Wire<Element>;
        typename Codec::Received received{};
        if (!Codec::read(parcel, received))
            return false;
        Format::set(shown, Element::name, value(element, Codec::view(received)));
        return true;
    }

    template <template <class...> class List, class... E>
    static bool read_all(List<E...>, [[maybe_unused]] rpc_port_parcel_h parcel, [[maybe_unused]] Json &shown)
    {
        return (read(E{}, parcel, shown) && ...);
    }

    // Items of an array, and records.

    static int plain(int field) { return field; }
    static const char *plain(const CText &field) { return field.get(); }

    template <FixedText Name, class Struct, class... Fields>
    static Json item(describe::Record<Name, Struct, Fields...>, const Struct *record)
    {
        Json fields = Format::object();
        (Format::set(fields, Fields::element::name, value(typename Fields::element{}, plain(record->*Fields::member))),
         ...);
        return fields;
    }

    template <FixedText Name, class R>
    static Json item(describe::RecordArray<Name, R>, const typename R::type *record)
    {
        return item(R{}, record);
    }

    template <FixedText Name>
    static Json item(describe::IntArray<Name>, int number)
    {
        return number;
    }

    // Documents.

    /// Null if the text is too long or not a JSON object.
    static Parsed parsed(const char *text)
    {
        const bool is_short = text && std::strlen(text) <= max_document;
        Parsed value{is_short ? cJSON_ParseWithOpts(text, nullptr, true) : nullptr, cJSON_Delete};
        return cJSON_IsObject(value.get()) ? std::move(value) : Parsed{nullptr, cJSON_Delete};
    }

    static Json members(const master::Document &description, const cJSON *object)
    {
        Json shown = Format::object();
        for (const cJSON *value = object->child; value; value = value->next) {
            const master::Member *end = description.members + description.count;
            const master::Member *member = std::find_if(description.members, end, [value](const master::Member &one) {
                return std::strcmp(one.key, value->string) == 0;
            });
            // The key of a member that is not described may be any bytes.
            const std::unique_ptr<char, decltype(&g_free)> key{g_utf8_make_valid(value->string, -1), g_free};
            Format::set(shown, key.get(), member != end && !member->secret ? visible(*member, value) : masked(value));
        }
        return shown;
    }

    /// A member that is not a secret. Objects are shown only as described items of an array.
    static Json visible(const master::Member &member, const cJSON *value)
    {
        if (!cJSON_IsArray(value))
            return scalar(value);
        Json items = Format::array();
        for (const cJSON *item = value->child; item; item = item->next)
            Format::append(items, member.items && cJSON_IsObject(item) ? members(*member.items, item) : scalar(item));
        return items;
    }

    static Json scalar(const cJSON *value)
    {
        if (cJSON_IsString(value))
            return Format::text(value->valuestring);
        if (cJSON_IsNumber(value))
            return Format::number(value->valuedouble);
        if (cJSON_IsBool(value))
            return static_cast<bool>(cJSON_IsTrue(value));
        return cJSON_IsNull(value) ? Json{} : masked(value);
    }

    /// The length of a text does not include its quotes.
    static Json masked(const cJSON *value)
    {
        if (cJSON_IsString(value))
            return secret(value->valuestring);
        const std::unique_ptr<char, decltype(&cJSON_free)> text{cJSON_PrintUnformatted(value), cJSON_free};
        return secret(text.get());
    }
};

} // namespace kv
