// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/fixed_text.hpp"

#include <string_view>
#include <type_traits>

/// The vocabulary in which an RPC interface is described. A description consists of types and runs no code. Each element
/// has a name, which decoders and reference pages show.
namespace kv::describe {

template <FixedText Name>
struct Named {
    static constexpr const char *name = Name.text;
    static constexpr auto text = Name;
};

// Elements: one value on the wire.

template <FixedText Name>
struct Int32 : Named<Name> {
};

template <FixedText Name>
struct Bool : Named<Name> {
};

template <FixedText Name>
struct String : Named<Name> {
};

/// A string that no log, journal or trace shows: a password, a PIN, a token, a key, a text that may contain one, or what
/// is private to user and cloud, as terms and diagnostics are.
template <FixedText Name>
struct Secret : String<Name> {
};

/// A string with a JSON document, or with an array of them. Logs, journals and traces show its members as the document
/// describes them. Documents is one document, or the commands of which the text holds one.
template <const auto &Documents, FixedText Name>
struct DocumentText : String<Name> {
    static constexpr const auto &documents = Documents;
};

template <class RecordDescription, FixedText Name>
struct Rec : Named<Name> {
    using record = RecordDescription;
};

template <class ArrayDescription, FixedText Name>
struct Arr : Named<Name> {
    using array = ArrayDescription;
};

/// A delegate in a request: type, sequence number, and whether it serves one event only.
template <class DelegateDescription>
struct Callback : Named<DelegateDescription::text> {
    using delegate = DelegateDescription;
};

// Lists of elements, and of descriptions.

template <class... Descriptions>
struct List {
    static constexpr int count = sizeof...(Descriptions);
};

template <class... Elements>
struct In {
    static constexpr int count = sizeof...(Elements);
};

template <class... Elements>
struct Out {
    static constexpr int count = sizeof...(Elements);
};

/// The lowest agent version that knows the method: 1000 x major + minor, as gates compare it.
template <int Major, int Minor>
struct Since {
    static constexpr int version = 1000 * Major + Minor;
};

/// A request and its reply. Every reply ends with the agent's int32 result, which is not among the outs.
template <int Id, FixedText Name, class Lowest, class Ins = In<>, class Outs = Out<>>
struct Method : Named<Name> {
    static constexpr int id = Id;
    static constexpr int since = Lowest::version;
    using in = Ins;
    using out = Outs;
};

/// The values of the event that the agent sends for a delegate of this type.
template <int Id, FixedText Name, class... Elements>
struct Delegate : Named<Name> {
    static constexpr int id = Id;
    using values = In<Elements...>;
};

/// A kind of event that an application registers for. The set method takes the delegates of its events, the unset method
/// ends the registration. `Name` is that of the exported functions: korvane_set_<Name>_cb and korvane_unset_<Name>_cb.
template <FixedText Name, class SetMethod, class UnsetMethod>
struct Event : Named<Name> {
    using set = SetMethod;
    using unset = UnsetMethod;
    static constexpr int since = SetMethod::since;

    static_assert(SetMethod::since == UnsetMethod::since && UnsetMethod::in::count == 0);
};

/// One field of a record: the element, and the member of the C++ struct for it.
template <class Element, auto Member>
struct Field {
    using element = Element;
    static constexpr auto member = Member;
};

/// A structured value: its C++ struct and its fields in wire order.
template <FixedText Name, class Struct, class... Fields>
struct Record : Named<Name> {
    using type = Struct;
    using fields = List<Fields...>;
};

template <FixedText Name, class RecordDescription>
struct RecordArray : Named<Name> {
    using record = RecordDescription;
};

template <FixedText Name>
struct IntArray : Named<Name> {
};

// Checks of a whole list.

template <class... D>
consteval bool ids_ascend(List<D...>)
{
    int last = -1;
    bool ascend = true;
    ((ascend = ascend && D::id > last, last = D::id), ...);
    return ascend;
}

template <class... D>
consteval bool names_are_unique(List<D...>)
{
    const std::string_view names[] = {D::name...};
    for (unsigned i = 0; i < sizeof...(D); ++i)
        for (unsigned j = i + 1; j < sizeof...(D); ++j)
            if (names[i] == names[j])
                return false;
    return true;
}

/// The position of a description in the list, from 0.
template <class Wanted, class... D>
consteval int index_of(List<D...>)
{
    int index = 0;
    (void)((std::is_same_v<Wanted, D> || (++index, false)) || ...);
    return index;
}

/// Calls visit.template operator()<D>() for every description of the list, in its order.
template <class... D, class Visitor>
constexpr void for_each(List<D...>, Visitor &&visit)
{
    (visit.template operator()<D>(), ...);
}

/// Calls visit.template operator()<D>() for the description with this id. Does nothing if the list has none.
template <class... D, class Visitor>
void visit_id(List<D...>, int id, Visitor &&visit)
{
    ((D::id == id ? visit.template operator()<D>() : void()), ...);
}

} // namespace kv::describe
