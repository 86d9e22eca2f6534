// SPDX-License-Identifier: Apache-2.0
// describe-dissector OUTPUT SOURCE...: writes the Wireshark dissector, which is the description of the interface as Lua tables
// and the code in the sources.

#include "src/kv_master/interface.hpp"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

namespace {

using namespace kv;

/// A Lua table for an element: its name, its type, and for some types the name of another table.
std::string element(const char *name, const char *type, const std::string &of = "")
{
    return std::string{"{name = \""} + name + "\", type = \"" + type + "\"" +
           (of.empty() ? "" : ", of = \"" + of + "\"") + "}";
}

template <FixedText N>
std::string lua(describe::Int32<N>)
{
    return element(N.text, "int32");
}
template <FixedText N>
std::string lua(describe::Bool<N>)
{
    return element(N.text, "bool");
}
template <FixedText N>
std::string lua(describe::String<N>)
{
    return element(N.text, "string");
}
template <FixedText N>
std::string lua(describe::Secret<N>)
{
    return element(N.text, "secret");
}
std::string document_element(const char *name, const master::Document &document)
{
    return master::may_hold_secrets(document) ? element(name, "document", document.name) : element(name, "string");
}
template <int Count>
std::string document_element(const char *name, const master::Command *const (&)[Count])
{
    return element(name, "command");
}
template <const auto &Documents, FixedText N>
std::string lua(describe::DocumentText<Documents, N>)
{
    return document_element(N.text, Documents);
}
template <class R, FixedText N>
std::string lua(describe::Rec<R, N>)
{
    return element(N.text, "record", R::name);
}
template <class A, FixedText N>
std::string lua(describe::Arr<A, N>)
{
    return element(N.text, "array", A::name);
}
template <class D>
std::string lua(describe::Callback<D>)
{
    return element(D::name, "delegate", std::to_string(D::id));
}

template <template <class...> class List, class... E>
std::string elements(List<E...>)
{
    std::string list;
    ((list += (list.empty() ? "" : ", ") + lua(E{})), ...);
    return "{" + list + "}";
}
template <class... F>
std::string fields(describe::List<F...>)
{
    return elements(describe::In<typename F::element...>{});
}

template <FixedText N>
std::string item(describe::IntArray<N>)
{
    return element("item", "int32");
}
template <FixedText N, class R>
std::string item(describe::RecordArray<N, R>)
{
    return element("item", "record", R::name);
}

const char *name_of(master::JsonType type)
{
    switch (type) {
    case master::JsonType::string: return "string";
    case master::JsonType::number: return "number";
    case master::JsonType::boolean: return "boolean";
    case master::JsonType::array: return "array";
    case master::JsonType::object: return "object";
    case master::JsonType::any: return "any";
    }
    return "any";
}

std::string members(const master::Document &document)
{
    std::string list;
    for (int i = 0; i < document.count; ++i) {
        const master::Member &member = document.members[i];
        list += std::string{"        {key = \""} + member.key + "\", type = \"" + name_of(member.type) + "\"" +
                (member.secret ? ", secret = true" : "") +
                (member.items ? std::string{", items = \""} + member.items->name + "\"" : "") + "},\n";
    }
    return std::string{"{only_secrets = "} + (master::holds_only_secrets(document) ? "true" : "false") +
           ", members = {\n" + list + "    }}";
}

void write_tables(std::ostream &out)
{
    out << "local interface = {records = {}, arrays = {}, documents = {}, commands = {}, methods = {}, delegates = "
           "{}}\n";
    describe::for_each(master::Records{}, [&]<class R>() {
        out << "interface.records." << R::name << " = " << fields(typename R::fields{}) << "\n";
    });
    describe::for_each(master::Arrays{},
                       [&]<class A>() { out << "interface.arrays." << A::name << " = " << item(A{}) << "\n"; });
    for (const master::Document *document : master::documents::all)
        out << "interface.documents." << document->name << " = " << members(*document) << "\n";
    for (const master::Command *command : master::commands::all)
        out << "interface.commands[" << command->number << "] = " << members(*command) << "\n";
    out << "interface.unknown_command = " << members(master::commands::unknown::document) << "\n"
        << "interface.command_number = \"" << master::commands::number.key << "\"\n";
    describe::for_each(master::Methods{}, [&]<class M>() {
        out << "interface.methods[" << M::id << "] = {name = \"" << M::name
            << "\", arguments = " << elements(typename M::in{}) << ", outs = " << elements(typename M::out{}) << "}\n";
    });
    describe::for_each(master::Delegates{}, [&]<class D>() {
        out << "interface.delegates[" << D::id << "] = {name = \"" << D::name
            << "\", values = " << elements(typename D::values{}) << "}\n";
    });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    std::ofstream out{argv[1], std::ios::binary};
    out << "-- SPDX-License-Identifier: Apache-2.0\n"
           "-- Wireshark dissector for traces of Korvane's ports, which korvanectl trace --pcapng writes.\n"
           "-- Made from the description of the agent's interface; do not edit.\n\n";
    write_tables(out);
    for (int i = 2; i < argc; ++i)
        out << '\n' << std::ifstream{argv[i], std::ios::binary}.rdbuf(); // fails if the source cannot be read
    out.close();
    if (out)
        return 0;
    std::perror("describe-dissector: cannot read a source or write the dissector");
    return 1;
}
