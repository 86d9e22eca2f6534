// SPDX-License-Identifier: Apache-2.0
#include "arguments.hpp"

#include "kind.hpp"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

[[noreturn]] void wrong(const char *name, const char *wanted, const std::string &kind)
{
    throw std::invalid_argument{std::string{"'"} + name + "' must be " + wanted + ", not " + kind};
}

} // namespace

std::optional<int> whole_number(const cJSON *value)
{
    const double number = cJSON_IsNumber(value) ? value->valuedouble : 0.5;
    if (number != std::floor(number) || number < std::numeric_limits<int>::min() ||
        number > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(number);
}

int parse_number(const std::string &word, const char *what)
{
    int value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc{} || end != word.data() + word.size())
        throw std::invalid_argument{std::string{"'"} + what + "' must be a whole number of 32 bits, not " + word};
    return value;
}

Arguments::Arguments(const cJSON *object) : object_(cJSON_IsNull(object) ? nullptr : object)
{
    if (object_ && !cJSON_IsObject(object_))
        throw std::invalid_argument{"the arguments must be a JSON object, not " + kind_of(object_)};
}

const cJSON *Arguments::any(const char *name)
{
    asked_.insert(name);
    return object_ ? cJSON_GetObjectItemCaseSensitive(object_, name) : nullptr;
}

std::optional<std::string> Arguments::text(const char *name)
{
    const cJSON *value = any(name);
    if (!value)
        return std::nullopt;
    if (!cJSON_IsString(value))
        wrong(name, "a text", kind_of(value));
    return value->valuestring;
}

std::optional<int> Arguments::number(const char *name)
{
    const cJSON *value = any(name);
    if (!value)
        return std::nullopt;
    if (const std::optional<int> number = whole_number(value))
        return number;
    wrong(name, "a whole number of 32 bits", number_or_kind_of(value));
}

std::optional<int> Arguments::count(const char *name)
{
    const std::optional<int> value = number(name);
    if (value && *value < 0)
        throw std::invalid_argument{std::string{"'"} + name + "' cannot be negative"};
    return value;
}

std::optional<bool> Arguments::flag(const char *name)
{
    const cJSON *value = any(name);
    if (!value)
        return std::nullopt;
    if (!cJSON_IsBool(value))
        wrong(name, "true or false", kind_of(value));
    return cJSON_IsTrue(value);
}

std::optional<std::string> Arguments::document(const char *name)
{
    const cJSON *value = any(name);
    if (!value)
        return std::nullopt;
    if (cJSON_IsString(value))
        return value->valuestring;
    if (!cJSON_IsObject(value) && !cJSON_IsArray(value))
        wrong(name, "a text, an object or an array", kind_of(value));
    return text_of(value);
}

std::string Arguments::required_text(const char *name)
{
    if (std::optional<std::string> value = text(name))
        return *value;
    throw std::invalid_argument{std::string{"'"} + name + "' is missing"};
}

void Arguments::end() const
{
    for (const cJSON *member = object_ ? object_->child : nullptr; member; member = member->next)
        if (asked_.count(member->string) == 0) {
            std::string known;
            for (const std::string &name : asked_)
                known += (known.empty() ? "" : ", ") + name;
            throw std::invalid_argument{std::string{"there is no '"} + member->string + "' here" +
                                        (known.empty() ? "" : "; there is " + known)};
        }
}

} // namespace kv::virtual_agent
