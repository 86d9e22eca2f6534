// SPDX-License-Identifier: Apache-2.0
#include "matching.hpp"

#include <charconv>
#include <cstring>
#include <sstream>

namespace kv::virtual_agent {

namespace {

std::string shown(const cJSON *value)
{
    return value ? excerpt_of(value) : "nothing";
}

/// Compares values that have no items or members in common. cJSON_Compare() would compare nested objects in both
/// directions, which doubles the time with each level.
bool is_same_scalar(const cJSON *one, const cJSON *other)
{
    if (cJSON_IsObject(one) || cJSON_IsArray(one) || cJSON_IsObject(other) || cJSON_IsArray(other))
        return false;
    return cJSON_Compare(one, other, true);
}

struct Condition {
    const char *name;
    bool (*holds)(const cJSON *wanted, const cJSON *value);
    const char *words;
};

// A table
// clang-format off
constexpr Condition conditions[] = {
    {"at_least", [](const cJSON *wanted, const cJSON *value) { return cJSON_IsNumber(value) && value->valuedouble >= wanted->valuedouble; }, "at least "},
    {"at_most", [](const cJSON *wanted, const cJSON *value) { return cJSON_IsNumber(value) && value->valuedouble <= wanted->valuedouble; }, "at most "},
    {"contains", [](const cJSON *wanted, const cJSON *value) { return cJSON_IsString(value) && cJSON_IsString(wanted) && std::strstr(value->valuestring, wanted->valuestring); }, "a text with "},
    {"not", [](const cJSON *wanted, const cJSON *value) { return !value || difference(wanted, value, "").has_value(); }, "anything but "},
    {"any", [](const cJSON *wanted, const cJSON *value) { return (value != nullptr) == static_cast<bool>(cJSON_IsTrue(wanted)); }, "present: "},
};
// clang-format on

const Condition *condition_in(const cJSON *wanted)
{
    if (!cJSON_IsObject(wanted) || cJSON_GetArraySize(wanted) != 1)
        return nullptr;
    for (const Condition &condition : conditions)
        if (std::strcmp(condition.name, wanted->child->string) == 0)
            return &condition;
    return nullptr;
}

} // namespace

std::optional<std::string> difference(const cJSON *wanted, const cJSON *value, const std::string &name)
{
    if (const Condition *condition = condition_in(wanted)) {
        if (condition->holds(wanted->child, value))
            return std::nullopt;
        return name + " is " + shown(value) + ", not " + condition->words + excerpt_of(wanted->child);
    }
    if (cJSON_IsObject(wanted) && cJSON_IsObject(value)) {
        for (const cJSON *member = wanted->child; member; member = member->next) {
            const std::string path = name.empty() ? member->string : name + "." + member->string;
            if (auto found = difference(member, cJSON_GetObjectItemCaseSensitive(value, member->string), path))
                return found;
        }
        return std::nullopt;
    }
    if (cJSON_IsArray(wanted) && cJSON_IsArray(value) && cJSON_GetArraySize(wanted) == cJSON_GetArraySize(value)) {
        const cJSON *item = value->child;
        int index = 0;
        for (const cJSON *one = wanted->child; one; one = one->next, item = item->next)
            if (auto found = difference(one, item, name + "." + std::to_string(index++)))
                return found;
        return std::nullopt;
    }
    if (value && is_same_scalar(wanted, value))
        return std::nullopt;
    return name + " is " + shown(value) + ", not " + excerpt_of(wanted);
}

int agreement(const cJSON *wanted, const cJSON *value)
{
    if (!cJSON_IsObject(wanted) || !cJSON_IsObject(value) || condition_in(wanted))
        return difference(wanted, value, "") ? 0 : 1;
    int all = 0;
    for (const cJSON *member = wanted->child; member; member = member->next)
        all += agreement(member, cJSON_GetObjectItemCaseSensitive(value, member->string));
    return all;
}

const cJSON *find_path(const cJSON *value, const std::string &path, Json &count)
{
    std::istringstream parts{path};
    std::string part;
    while (value && std::getline(parts, part, '.')) {
        int index = 0;
        const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), index);
        if (part == "#") {
            count = cJSON_GetArraySize(value);
            value = count.get();
        } else if (cJSON_IsArray(value) && error == std::errc{} && end == part.data() + part.size()) {
            value = cJSON_GetArrayItem(value, index);
        } else {
            value = cJSON_GetObjectItemCaseSensitive(value, part.c_str());
        }
    }
    return value;
}

} // namespace kv::virtual_agent
