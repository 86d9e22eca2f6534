// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <optional>
#include <set>
#include <string>

namespace kv::virtual_agent {

/// The members of a JSON object, taken by name. end() rejects every member that was not taken, so that a misspelt name
/// is reported. All functions throw std::invalid_argument with a message that names the member.
class Arguments {
public:
    /// A null pointer and JSON null both mean an object without members.
    explicit Arguments(const cJSON *object);

    std::optional<std::string> text(const char *name);
    std::optional<int> number(const char *name);
    std::optional<bool> flag(const char *name);
    /// A text, or the text of an object or an array.
    std::optional<std::string> document(const char *name);
    /// The member itself, owned by the object; null if it is missing.
    const cJSON *any(const char *name);

    std::string required_text(const char *name);
    /// A number that must not be negative.
    std::optional<int> count(const char *name);

    /// To be called after every known member was taken.
    void end() const;

private:
    const cJSON *object_;
    std::set<std::string> asked_{};
};

/// The value as a whole number of 32 bits; nothing for any other value.
std::optional<int> whole_number(const cJSON *value);

/// Reads a whole number of 32 bits from a word; `what` names it in the message. Throws std::invalid_argument.
int parse_number(const std::string &word, const char *what);

} // namespace kv::virtual_agent
