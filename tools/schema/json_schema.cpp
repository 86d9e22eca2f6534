// SPDX-License-Identifier: Apache-2.0
#include "json_schema.hpp"

#include <cstdio>
#include <utility>

namespace kv::schema {

using virtual_agent::array_of;

Json type(const char *name)
{
    return std::move(Json::object().set("type", name));
}

Json reference(const char *definition)
{
    return std::move(Json::object().set("$ref", std::string{"#/definitions/"} + definition));
}

Json one_of(const std::vector<std::string> &names)
{
    return std::move(Json::object().set("enum", array_of(names)));
}

Json either(Json one, Json other)
{
    Json both = Json::array();
    both.append(std::move(one)).append(std::move(other));
    return std::move(Json::object().set("anyOf", std::move(both)));
}

Json whole_number(int min, int max)
{
    Json number = type("integer");
    number.set("minimum", min).set("maximum", max);
    return number;
}

Json array(Json items)
{
    Json list = type("array");
    list.set("items", std::move(items));
    return list;
}

Json closed(Json members, const std::vector<std::string> &required)
{
    Json shape = type("object");
    shape.set("properties", std::move(members)).set("required", array_of(required)).set("additionalProperties", false);
    return shape;
}

void print(const char *title, const Json &shape, Json definitions)
{
    Json schema = Json::object();
    schema.set("$schema", "http://json-schema.org/draft-07/schema#").set("title", title);
    for (const cJSON *member = shape.get()->child; member; member = member->next)
        schema.set(member->string, Json::copy_of(member));
    schema.set("definitions", std::move(definitions));
    char *text = cJSON_Print(schema.get());
    std::puts(text);
    cJSON_free(text);
}

} // namespace kv::schema
