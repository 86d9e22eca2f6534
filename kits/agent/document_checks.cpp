// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"

#include "kits/common/check.h"
#include "requests.hpp"

#include <cjson/cJSON.h>

#include <memory>

/// Requests of the generic method, which are JSON documents.
namespace kv::agent_kit {
namespace {

using namespace master;

/// Sends a text to the generic method and reads the reply. If the request succeeds, the out value must be a document.
std::optional<int> call_generic_method(Connection &connection, const std::string &text,
                                       Expected expected = Expected::any_result)
{
    Parcel request;
    rpc_port_parcel_create(request.out());
    if (!IntWire::write(request.get(), common_interface::id) || !TextWire::write(request.get(), text.c_str()) ||
        !connection.send(request))
        return {};
    Parcel reply;
    CText out;
    if (!connection.read(reply) || !read_reply_kind(reply))
        return {};
    if (!TextWire::read(reply.get(), out)) {
        g_test_fail_printf("the out value is missing or malformed");
        return {};
    }
    const std::optional<int> result = read_result(reply, expected);
    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> parsed{cJSON_ParseWithOpts(out.get(), nullptr, true),
                                                                 cJSON_Delete};
    if (result && *result == 0 && !parsed)
        g_test_fail_printf("the out value is no JSON text: %s", out.get());
    return result;
}

void serves_a_command(const void *data)
{
    const auto &command = *static_cast<const Command *>(data);
    Connection connection;
    if (connection.open())
        call_generic_method(connection, sample_document(command));
}

/// A reader accepts whitespace, any order of the members, and members that it does not know.
void accepts_any_layout()
{
    Connection connection;
    if (!connection.open())
        return;
    const auto compact = call_generic_method(connection, R"({"common_interface":1,"device_no":0,"device_type":"kit"})");
    const auto spaced = call_generic_method(
        connection, "\n{ \"device_type\" : \"kit\",\t\"kit\": [ {} ], \"device_no\": 0, \"common_interface\" : 1 }\n");
    if (compact && spaced)
        g_assert_cmpint(*compact, ==, *spaced);
}

void refuses_an_unknown_command()
{
    Connection connection;
    if (!connection.open())
        return;
    call_generic_method(connection, R"({"common_interface":30000})", Expected::refusal);
    call_generic_method(connection, R"({"common_interface":-1})", Expected::refusal);
}

/// The result is the agent's choice, but a reply must follow, and the next request must be served.
void replies_to_each_text()
{
    const std::string nested = std::string(2000, '[') + std::string(2000, ']');
    const std::string texts[] = {
        "", "kit", "{", "[]", "null", R"({"common_interface":"1"})", nested, "{\"\xff\":\"\xfe\"}"};
    Connection connection;
    if (!connection.open())
        return;
    for (const std::string &text : texts)
        if (!call_generic_method(connection, text))
            return;
}

} // namespace

void add_document_checks()
{
    if (options.version < common_interface::since)
        return;
    for (const Command *command : commands::all)
        if (command->since <= options.version)
            kit_add_row((std::string{"/documents/"} + command->name).c_str(), serves_a_command, command);
    kit_add("/documents/any-layout", accepts_any_layout);
    kit_add("/documents/unknown-command", refuses_an_unknown_command);
    kit_add("/documents/each-text", replies_to_each_text);
}

} // namespace kv::agent_kit
