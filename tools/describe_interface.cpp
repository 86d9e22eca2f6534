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

} // namespace

int main()
{
    std::puts("# The kv_master interface\n\n"
              "Generated from `src/kv_master/interface.hpp` by `./dev docs`; do not edit.\n\n"
              "A request is the int32 id and its arguments. A reply is the int32 kind 0, the out values, and the int32 "
              "result\n"
              "of the agent. An event is the int32 kind 1, the int32 id and int32 sequence number of the delegate, its "
              "bool once,\n"
              "and the values. A delegate among the arguments is its int32 id, int32 sequence number and bool once. An "
              "array is\n"
              "its count and its items. Values marked secret are masked in every log and trace.\n\n"
              "## Methods\n\n"
              "| id | method | since agent | arguments | out values |\n|---|---|---|---|---|");
    describe::for_each(master::Methods{}, []<class M>() {
        std::printf("| %d | `%s` | %d.%d | %s | %s |\n", M::id, M::name, M::since / 1000, M::since % 1000,
                    shown(typename M::in{}).c_str(), shown(typename M::out{}).c_str());
    });
    std::puts("\n## Delegates\n\n| id | delegate | values |\n|---|---|---|");
    describe::for_each(master::Delegates{}, []<class D>() {
        std::printf("| %d | `%s` | %s |\n", D::id, D::name, shown(typename D::values{}).c_str());
    });
    std::puts("\n## Records\n\n| record | fields |\n|---|---|");
    describe::for_each(master::Records{},
                       []<class R>() { std::printf("| `%s` | %s |\n", R::name, shown(typename R::fields{}).c_str()); });
    std::puts("\n## Arrays\n\n| array | item |\n|---|---|");
    describe::for_each(master::Arrays{}, []<class A>() { std::printf("| `%s` | %s |\n", A::name, item_of(A{})); });
}
