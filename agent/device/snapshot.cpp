// SPDX-License-Identifier: Apache-2.0
#include "snapshot.hpp"

#include "agent/interface/methods.hpp"
#include "agent/json/arguments.hpp"
#include "agent/json/kind.hpp"
#include "snapshot_members.hpp"

#include <glib.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

// ---- writing ---------------------------------------------------------------------------------------------------------

template <class Value>
concept Plain = std::same_as<Value, bool> || std::same_as<Value, int>;

template <Plain Value>
Json saved(Value value)
{
    return value;
}
template <class Enum>
requires std::is_enum_v<Enum> Json saved(Enum value)
{
    return static_cast<int>(value);
}
Json saved(const Json &value)
{
    return value.copy();
}

/// Network names and requests may hold any bytes.
Json saved(const std::string &text)
{
    if (g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr))
        return text;
    const std::unique_ptr<char, decltype(&g_free)> encoded{
        g_base64_encode(reinterpret_cast<const guchar *>(text.data()), text.size()), g_free};
    return std::move(Json::object().set("base64", encoded.get()));
}

template <class Value>
Json saved(const std::optional<Value> &value);
template <class Value>
Json saved_list(const Value &values);
template <class Key, class Value>
Json saved(const std::map<Key, Value> &values);

template <HasMembers Object>
Json saved(const Object &object);

template <class Value>
Json saved(const std::vector<Value> &values)
{
    return saved_list(values);
}
template <class Value>
Json saved(const std::deque<Value> &values)
{
    return saved_list(values);
}

template <class Value>
Json saved(const std::optional<Value> &value)
{
    return value ? saved(*value) : Json{};
}

template <class Values>
Json saved_list(const Values &values)
{
    Json list = Json::array();
    for (const auto &value : values)
        list.append(saved(value));
    return list;
}

template <class Key, class Value>
Json saved(const std::map<Key, Value> &values)
{
    Json object = Json::object();
    for (const auto &[key, value] : values)
        if constexpr (std::same_as<Key, int>)
            object.set(std::to_string(key).c_str(), saved(value));
        else
            object.set(key.c_str(), saved(value));
    return object;
}

template <HasMembers Object>
Json saved(const Object &object)
{
    Json shown = Json::object();
    members(object, [&shown](const char *name, const auto &member, auto...) { shown.set(name, saved(member)); });
    return shown;
}

// ---- reading ---------------------------------------------------------------------------------------------------------

[[noreturn]] void wrong(const std::string &path, const char *wanted, const std::string &kind)
{
    throw std::invalid_argument{path + " must be " + wanted + ", not " + kind};
}

void must_be_object(const cJSON *value, const std::string &path)
{
    if (!cJSON_IsObject(value))
        wrong(path, "an object", kind_of(value));
}

void load(bool &value, const cJSON *from, const std::string &path)
{
    if (!cJSON_IsBool(from))
        wrong(path, "true or false", kind_of(from));
    value = cJSON_IsTrue(from);
}

void load(int &value, const cJSON *from, const std::string &path)
{
    const std::optional<int> number = whole_number(from);
    if (!number)
        wrong(path, "a whole number of 32 bits", number_or_kind_of(from));
    value = *number;
}

void load(int &value, const cJSON *from, const std::string &path, const NumberRange &range)
{
    load(value, from, path);
    if (value < range.min || value > range.max)
        wrong(path, (std::to_string(range.min) + " to " + std::to_string(range.max)).c_str(), number_or_kind_of(from));
}

template <class Enum>
requires std::is_enum_v<Enum>
void load(Enum &value, const cJSON *from, const std::string &path)
{
    const int number = whole_number(from).value_or(-1);
    if (number < 0 || number > last_of(Enum{}))
        wrong(path, ("0 to " + std::to_string(last_of(Enum{}))).c_str(), number_or_kind_of(from));
    value = static_cast<Enum>(number);
}

void load(Json &value, const cJSON *from, const std::string &)
{
    value = Json::copy_of(from);
}

void load(std::string &value, const cJSON *from, const std::string &path)
{
    const cJSON *encoded = cJSON_GetObjectItemCaseSensitive(from, "base64");
    if (!cJSON_IsString(from) && !cJSON_IsString(encoded))
        wrong(path, R"(a text, or {"base64":TEXT})", kind_of(from));
    if (cJSON_IsString(from)) {
        value = from->valuestring;
        return;
    }
    gsize size = 0;
    const std::unique_ptr<guchar, decltype(&g_free)> bytes{g_base64_decode(encoded->valuestring, &size), g_free};
    value.assign(reinterpret_cast<const char *>(bytes.get()), size);
}

template <class Value>
void load(std::optional<Value> &value, const cJSON *from, const std::string &path);
template <class Values>
void load_list(Values &values, const cJSON *from, const std::string &path);
template <class Key, class Value>
void load(std::map<Key, Value> &values, const cJSON *from, const std::string &path);
template <HasMembers Object>
void load(Object &object, const cJSON *from, const std::string &path);

template <class Value>
void load(std::vector<Value> &values, const cJSON *from, const std::string &path)
{
    load_list(values, from, path);
}
template <class Value>
void load(std::deque<Value> &values, const cJSON *from, const std::string &path)
{
    load_list(values, from, path);
}

template <class Value>
void load(std::optional<Value> &value, const cJSON *from, const std::string &path)
{
    value.reset();
    if (!cJSON_IsNull(from))
        load(value.emplace(), from, path);
}

template <class Values>
void load_list(Values &values, const cJSON *from, const std::string &path)
{
    if (!cJSON_IsArray(from))
        wrong(path, "an array", kind_of(from));
    values.clear();
    for (const cJSON *item = from->child; item; item = item->next) {
        const std::string place = path + "." + std::to_string(values.size());
        load(values.emplace_back(), item, place);
    }
}

template <class Key, class Value>
void load(std::map<Key, Value> &values, const cJSON *from, const std::string &path)
{
    must_be_object(from, path);
    if (cJSON_GetArraySize(from) > static_cast<int>(max_devices))
        throw std::invalid_argument{path + " has more than " + std::to_string(max_devices) + " members"};
    values.clear();
    for (const cJSON *member = from->child; member; member = member->next)
        if constexpr (std::same_as<Key, int>)
            load(values[parse_number(member->string, path.c_str())], member, path + "." + member->string);
        else
            load(values[member->string], member, path + "." + member->string);
}

template <HasMembers Object>
void load(Object &object, const cJSON *from, const std::string &path)
{
    must_be_object(from, path);
    Arguments given{from};
    members(object, [&](const char *name, auto &member, auto... range) {
        if (const cJSON *value = given.any(name))
            load(member, value, path + "." + name, range...);
    });
    try {
        given.end();
    } catch (const std::invalid_argument &problem) {
        throw std::invalid_argument{path + ": " + problem.what()};
    }
}

/// Gives the last requests their current name. Earlier agents called them "told".
void rename_last_requests(cJSON *object)
{
    if (cJSON *requests = cJSON_DetachItemFromObjectCaseSensitive(object, "told"))
        cJSON_AddItemToObject(object, "last_requests", requests);
}

/// Checks what the rest of the agent assumes about its own state.
void check(const State &state)
{
    const auto must = [](bool holds, const char *otherwise) {
        if (!holds)
            throw std::invalid_argument{otherwise};
    };
    must(!state.signed_in || state.signed_up, "snapshot.signed_in: a device that is signed in is signed up");
    const KeepAlive &keep_alive = state.cloud.keep_alive;
    const auto count = static_cast<int>(keep_alive.intervals.size());
    must(std::all_of(keep_alive.selected.begin(), keep_alive.selected.end(),
                     [count](int index) { return index >= 0 && index < count; }),
         "snapshot.cloud.keep_alive.selected must be indexes of its intervals");
    must(std::all_of(state.last_requests.begin(), state.last_requests.end(),
                     [](const auto &one) { return find_method(one.first); }),
         "the members of snapshot.last_requests must be ids of methods");
}

} // namespace

Json snapshot_of(const State &state)
{
    Json shown = Json::object();
    shown.set("version", state.version.text()).add(saved(state));
    return shown;
}

void restore(State &state, const cJSON *snapshot)
{
    Json members_only = Json::copy_of(snapshot);
    must_be_object(snapshot, "snapshot");
    cJSON_DeleteItemFromObjectCaseSensitive(members_only.get(), "version");
    cJSON_DeleteItemFromObjectCaseSensitive(members_only.get(), "$schema"); // for editors
    rename_last_requests(members_only.get());
    rename_last_requests(cJSON_GetObjectItemCaseSensitive(members_only.get(), "cloud"));
    State next;
    next.version = state.version;
    next.device_id = state.device_id;
    load(next, members_only.get(), "snapshot");
    check(next);
    state = std::move(next);
}

} // namespace kv::virtual_agent
