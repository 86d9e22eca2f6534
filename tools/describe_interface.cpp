// SPDX-License-Identifier: Apache-2.0
// Prints the reference page of the kv_master interface, from its description.

#include "src/kv_master/interface.hpp"

#include <cstdio>
#include <string>

namespace {

using namespace kv;

/// An element as the page shows it: its wire type and its name.
template <FixedText N>
std::string shown(describe::Int32<N>)
{
    return std::string{"int32 "} + N.text;
}
template <FixedText N>
std::string shown(describe::Bool<N>)
{
    return std::string{"bool "} + N.text;
}
template <FixedText N>
std::string shown(describe::String<N>)
{
    return std::string{"string "} + N.text;
}
template <FixedText N>
std::string shown(describe::Secret<N>)
{
    return std::string{"string "} + N.text + " (secret)";
}
std::string reference_to(const master::Document &document)
{
    return std::string{"document `"} + document.name + "`";
}
template <int Count>
std::string reference_to(const master::Command *const (&)[Count])
{
    return "one of the commands";
}
template <const auto &Documents, FixedText N>
std::string shown(describe::DocumentText<Documents, N>)
{
    return std::string{"string "} + N.text + ": " + reference_to(Documents);
}
template <class R, FixedText N>
std::string shown(describe::Rec<R, N>)
{
    return std::string{"record `"} + R::name + "` " + N.text;
}
template <class A, FixedText N>
std::string shown(describe::Arr<A, N>)
{
    return std::string{"`"} + A::name + "` " + N.text;
}
template <class D>
std::string shown(describe::Callback<D>)
{
    return std::string{"delegate `"} + D::name + "`";
}

std::string joined(std::initializer_list<std::string> items)
{
    std::string text;
    for (const std::string &item : items)
        text += (text.empty() ? "" : ", ") + item;
    return text.empty() ? "none" : text;
}

template <class... E>
std::string shown(describe::In<E...>)
{
    return joined({shown(E{})...});
}
template <class... E>
std::string shown(describe::Out<E...>)
{
    return joined({shown(E{})...});
}
template <class... F>
std::string shown(describe::List<F...>)
{
    return joined({shown(typename F::element{})...});
}

template <FixedText N>
const char *item_of(describe::IntArray<N>)
{
    return "int32";
}
template <FixedText N, class R>
const char *item_of(describe::RecordArray<N, R>)
{
    return R::name;
}

const char *name_of(master::JsonType type)
{
    switch (type) {
    case master::JsonType::string: return "string";
    case master::JsonType::number: return "number";
    case master::JsonType::boolean: return "boolean";
    case master::JsonType::array: return "array";
    case master::JsonType::object: return "object";
    case master::JsonType::any: return "value";
    }
    return "";
}

std::string version_of(int number)
{
    return std::to_string(number / 1000) + "." + std::to_string(number % 1000);
}

std::string shown(const master::Member &member, const master::Document &document)
{
    std::string text = std::string{name_of(member.type)} + " " + member.key;
    if (member.items)
        text += " of " + reference_to(*member.items);
    if (member.secret)
        text += " (secret)";
    if (member.since > document.since)
        text += " (since " + version_of(member.since) + ")";
    return text;
}

void print_members(const master::Document &document)
{
    std::string members;
    for (int i = 0; i < document.count; ++i)
        members += (i > 0 ? ", " : "") + shown(document.members[i], document);
    std::printf("`%s` | %s | %s |\n", document.name, version_of(document.since).c_str(), members.c_str());
}

} // namespace

int main()
{
    std::puts(
        "# The kv_master interface\n\n"
        "Generated from `src/kv_master/interface.hpp` and `documents.hpp` by `./dev docs`; do not edit.\n\n"
        "A request is the int32 id and its arguments. A reply is the int32 kind 0, the out values, and the int32 "
        "result\n"
        "of the agent. An event is the int32 kind 1, the int32 id and int32 sequence number of the delegate, its "
        "bool once,\n"
        "and the values. A delegate among the arguments is its int32 id, int32 sequence number and bool once. An "
        "array is\n"
        "its count and its items. A document is JSON text. Values marked secret are masked in every log, journal and "
        "trace.\n\n"
        "## Methods\n\n"
        "| id | method | since agent | arguments | out values |\n|---|---|---|---|---|");
    describe::for_each(master::Methods{}, []<class M>() {
        std::printf("| %d | `%s` | %s | %s | %s |\n", M::id, M::name, version_of(M::since).c_str(),
                    shown(typename M::in{}).c_str(), shown(typename M::out{}).c_str());
    });
    std::puts("\n## Delegates\n\n| id | delegate | values |\n|---|---|---|");
    describe::for_each(master::Delegates{}, []<class D>() {
        std::printf("| %d | `%s` | %s |\n", D::id, D::name, shown(typename D::values{}).c_str());
    });
    std::puts("\n## Records\n\n| record | fields |\n|---|---|");
    describe::for_each(master::Records{},
                       []<class R>() { std::printf("| `%s` | %s |\n", R::name, shown(typename R::fields{}).c_str()); });
    std::puts("\n## Documents\n\n| document | since agent | members |\n|---|---|---|");
    for (const master::Document *document : master::documents::all) {
        std::printf("| ");
        print_members(*document);
    }
    std::puts("\n## Commands of `common_interface`\n\n"
              "Each is a document whose member `common_interface` is its number.\n\n"
              "| number | command | since agent | members |\n|---|---|---|---|");
    for (const master::Command *command : master::commands::all) {
        std::printf("| %d | ", command->number);
        print_members(*command);
    }
    std::puts("\n## Arrays\n\n| array | item |\n|---|---|");
    describe::for_each(master::Arrays{}, []<class A>() { std::printf("| `%s` | %s |\n", A::name, item_of(A{})); });
}
