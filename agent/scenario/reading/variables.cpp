// SPDX-License-Identifier: Apache-2.0
#include "variables.hpp"

#include "agent/json/kind.hpp"
#include "common/suggestion.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace kv::virtual_agent {

namespace {

constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";

bool is_name(std::string_view text)
{
    return !text.empty() && text.find_first_not_of(letters) == std::string_view::npos &&
           (text[0] < '0' || text[0] > '9');
}

/// The name of a variable that is the whole text; empty if it is not.
std::string_view name_of_whole(std::string_view text)
{
    if (!text.starts_with("${") || text.find('}') != text.size() - 1)
        return {};
    return text.substr(2, text.size() - 3);
}

/// Gives a value the content of another one. The address, and the name of a member, stay.
void assign(cJSON &value, Json content)
{
    cJSON &other = *content.get();
    std::swap(value.type, other.type);
    std::swap(value.child, other.child);
    std::swap(value.valuestring, other.valuestring);
    std::swap(value.valueint, other.valueint);
    std::swap(value.valuedouble, other.valuedouble);
}

/// Whether two values are of the same kind: two numbers, two booleans, ...
bool are_alike(const cJSON *one, const cJSON *other)
{
    const auto kind = [](const cJSON *value) { return cJSON_IsBool(value) ? cJSON_True : value->type & 0xff; };
    return kind(one) == kind(other);
}

/// Refuses a value that has more levels than the text of a scenario may have.
void check_depth(const cJSON *value, int levels_left)
{
    if (levels_left == 0)
        throw Mistake{value, "the values of the variables make this more than " + std::to_string(Json::max_depth) +
                                 " levels deep"};
    for (const cJSON *child = value->child; child; child = child->next)
        check_depth(child, levels_left - 1);
}

std::string wanted_kind(const cJSON *value)
{
    return cJSON_IsBool(value) ? "true or false" : kind_of(value);
}

} // namespace

/// Replaces the variables in one value.
class Variables::Replacement {
public:
    Replacement(const Json &values, Positions &positions, std::size_t &bytes_left)
        : values_(values), positions_(positions), bytes_left_(bytes_left)
    {
    }

    void replace_in(cJSON &value)
    {
        for (cJSON *child = value.child; child; child = child->next)
            replace_in(*child);
        if (!cJSON_IsString(&value) || std::string_view{value.valuestring}.find('$') == std::string_view::npos)
            return;
        const std::string_view name = name_of_whole(value.valuestring);
        if (name.empty()) {
            assign(value, Json::bytes(replaced(value)));
            return;
        }
        const cJSON *whole = value_of(std::string{name}, value);
        take(text_of(whole).size(), value);
        assign(value, Json::copy_of(whole));
        positions_.spread(&value);
    }

private:
    std::string replaced(const cJSON &value)
    {
        const std::string_view text = value.valuestring;
        std::string result;
        std::size_t at = 0;
        for (std::size_t begin = 0; (begin = text.find("${", at)) != std::string_view::npos;) {
            const bool is_escaped = begin > at && text[begin - 1] == '$';
            if (is_escaped) {
                result += std::string{text.substr(at, begin - at)} + "{"; // "$${" is the text "${"
                at = begin + 2;
                continue;
            }
            const std::size_t end = text.find('}', begin);
            if (end == std::string_view::npos)
                refuse_name(value);
            result += text.substr(at, begin - at);
            result += word_of(std::string{text.substr(begin + 2, end - begin - 2)}, value);
            at = end + 1;
        }
        return result + std::string{text.substr(at)};
    }

    /// The value of a variable inside a longer text.
    std::string word_of(const std::string &name, const cJSON &where)
    {
        const cJSON *value = value_of(name, where);
        if (cJSON_IsObject(value) || cJSON_IsArray(value) || cJSON_IsNull(value))
            throw Mistake{&where, "'" + name + "' is " + kind_of(value) + ", which cannot be a part of a text"};
        std::string word = cJSON_IsString(value) ? value->valuestring : text_of(value);
        take(word.size(), where);
        return word;
    }

    const cJSON *value_of(const std::string &name, const cJSON &where) const
    {
        if (!is_name(name))
            refuse_name(where);
        if (const cJSON *value = cJSON_GetObjectItemCaseSensitive(values_.get(), name.c_str()))
            return value;
        throw Mistake{&where, "there is no variable '" + name + "'" + suggestion(name, names_in(values_.get()))};
    }

    [[noreturn]] static void refuse_name(const cJSON &where)
    {
        throw Mistake{&where, "the name of a variable and '}' must follow '${'; write '$${' for the text '${'"};
    }

    void take(std::size_t bytes, const cJSON &where)
    {
        if (bytes > bytes_left_)
            throw Mistake{&where, "the values of the variables are too long altogether"};
        bytes_left_ -= bytes;
    }

    const Json &values_;
    Positions &positions_;
    std::size_t &bytes_left_;
};

Variables::Variables(const cJSON *declared, const cJSON *given, Positions &positions, std::size_t &bytes_left)
{
    if (declared && !cJSON_IsObject(declared))
        throw Mistake{declared, "'variables' must be an object, not " + kind_of(declared)};
    for (const cJSON *one = declared ? declared->child : nullptr; one; one = one->next) {
        if (!is_name(one->string))
            throw Mistake{one, std::string{"'"} + one->string + "' is not a name: use letters, digits and '_'"};
        if (cJSON_GetObjectItemCaseSensitive(values_.get(), one->string))
            throw Mistake{one, std::string{"there are two variables '"} + one->string + "'"};
        const cJSON *instead = cJSON_GetObjectItemCaseSensitive(given, one->string);
        values_.set(one->string, instead ? Json::copy_of(instead) : applied_to(one, positions, bytes_left));
    }
}

Json Variables::applied_to(const cJSON *value, Positions &positions, std::size_t &bytes_left) const
{
    Json copy = Json::copy_of(value);
    positions.add_copy(copy.get(), value);
    Replacement{values_, positions, bytes_left}.replace_in(*copy.get());
    check_depth(copy.get(), Json::max_depth);
    return copy;
}

std::vector<std::string> names_in(const cJSON *object)
{
    std::vector<std::string> names;
    for (const cJSON *member = cJSON_IsObject(object) ? object->child : nullptr; member; member = member->next)
        names.emplace_back(member->string);
    return names;
}

Json values_from_words(const std::map<std::string, std::string> &words, const cJSON *declared)
{
    Json values = Json::object();
    for (const auto &[name, word] : words) {
        const cJSON *known =
            cJSON_IsObject(declared) ? cJSON_GetObjectItemCaseSensitive(declared, name.c_str()) : nullptr;
        if (!known)
            continue;
        std::optional<Json> value;
        try {
            value = cJSON_IsString(known) ? Json::bytes(word) : Json::parse(word);
        } catch (const std::invalid_argument &) { // the word may be a secret, so no message repeats it
        }
        if (!value || !are_alike(value->get(), known))
            throw Mistake{known, "the value that is given for '" + name + "' must be " + wanted_kind(known)};
        values.set(name.c_str(), std::move(*value));
    }
    return values;
}

} // namespace kv::virtual_agent
