// SPDX-License-Identifier: Apache-2.0
// Prints the JSON Schema of snapshots from the members of the agent's state, with which it writes and reads them.

#include "agent/device/snapshot_members.hpp"
#include "agent/interface/methods.hpp"
#include "json_schema.hpp"

#include <deque>
#include <map>
#include <optional>
#include <utility>

namespace {

using namespace kv::virtual_agent;
using namespace kv::schema;

template <class Value>
Json shape_of(NumberRange = {});

/// The shape of a value of the state follows from its type. This is that of an enumeration and of an object.
template <class Value>
struct Shape {
    static Json made()
    {
        if constexpr (std::is_enum_v<Value>) {
            return kv::schema::whole_number(0, last_of(Value{}));
        } else {
            Json described = Json::object();
            Value object{};
            members(object, [&described](const char *name, const auto &member, auto... range) {
                described.set(name, shape_of<std::remove_cvref_t<decltype(member)>>(range...));
            });
            return closed(std::move(described), {});
        }
    }
};

template <class Value>
Json shape_of(NumberRange)
{
    return Shape<Value>::made();
}

template <>
Json shape_of<int>(NumberRange range)
{
    return kv::schema::whole_number(range.min, range.max);
}

template <>
struct Shape<bool> {
    static Json made() { return type("boolean"); }
};

template <>
struct Shape<std::string> {
    static Json made() { return reference("text"); }
};

template <>
struct Shape<Json> {
    static Json made() { return Json{true}; }
};

template <class Value>
struct Shape<std::optional<Value>> {
    static Json made() { return either(type("null"), shape_of<Value>()); }
};

template <class Value>
struct Shape<std::vector<Value>> {
    static Json made() { return array(shape_of<Value>()); }
};

template <class Value>
struct Shape<std::deque<Value>> {
    static Json made() { return array(shape_of<Value>()); }
};

template <class Key, class Value>
struct Shape<std::map<Key, Value>> {
    static Json made()
    {
        Json object = type("object");
        if constexpr (std::same_as<Key, int>)
            object.set("propertyNames", reference("key"));
        object.set("additionalProperties", shape_of<Value>()).set("maxProperties", static_cast<int>(max_devices));
        return object;
    }
};

/// A text, or its bytes if they are not UTF-8.
Json text()
{
    Json bytes = type("object");
    bytes.set("properties", std::move(Json::object().set("base64", type("string"))));
    bytes.set("required", array_of(std::vector<std::string>{"base64"}));
    return either(type("string"), std::move(bytes));
}

/// A whole number of 32 bits as the name of a member.
Json key()
{
    Json name = Json::object();
    name.set("pattern", "^(-?0*([0-9]{1,9}|1[0-9]{9}|20[0-9]{8}|21[0-3][0-9]{7}|214[0-6][0-9]{6}|2147[0-3][0-9]{5}"
                        "|21474[0-7][0-9]{4}|214748[0-2][0-9]{3}|2147483[0-5][0-9]{2}|21474836[0-3][0-9]"
                        "|214748364[0-7])|-0*2147483648)$");
    return name;
}

/// The ids of all methods, as names of members.
Json method_ids()
{
    std::vector<std::string> ids;
    for (const MethodEntry &method : all_methods())
        ids.push_back(std::to_string(method.id));
    return one_of(ids);
}

/// A device that is signed in is signed up.
void add_sign_in_rule(Json &snapshot)
{
    const auto is_true = [](const char *name) {
        Json members = Json::object();
        members.set(name, std::move(Json::object().set("const", true)));
        Json shape = Json::object();
        shape.set("properties", std::move(members)).set("required", array_of(std::vector<std::string>{name}));
        return shape;
    };
    snapshot.set("if", is_true("signed_in")).set("then", is_true("signed_up"));
}

} // namespace

int main()
{
    Json snapshot = shape_of<State>();
    cJSON *described = cJSON_GetObjectItemCaseSensitive(snapshot.get(), "properties");
    cJSON_AddTrueToObject(described, "version");
    cJSON_AddTrueToObject(described, "$schema");
    cJSON_ReplaceItemInObjectCaseSensitive(cJSON_GetObjectItemCaseSensitive(described, "last_requests"),
                                           "propertyNames", cJSON_Duplicate(method_ids().get(), true));
    add_sign_in_rule(snapshot);
    Json definitions = Json::object();
    definitions.set("text", text()).set("key", key());
    print("A snapshot of Korvane's virtual agent", snapshot, std::move(definitions));
}
