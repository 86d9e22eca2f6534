// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/journal/json.hpp"

#include <optional>
#include <set>
#include <string>

namespace kv::virtual_agent {

/// The members of a JSON object that some step takes. Each is asked for by name; whatever nobody has asked for is a
/// mistake, so that a misspelt name is told. All throw std::invalid_argument and say what is wrong.
class Arguments {
public:
    /// NULL and null stand for an object without members.
    explicit Arguments(const cJSON *object);

    std::optional<std::string> text(const char *name);
    std::optional<int> number(const char *name);
    std::optional<bool> flag(const char *name);
    /// A text, or the text of an object or an array.
    std::optional<std::string> document(const char *name);
    /// The member itself, which stays the object's. NULL when there is none.
    const cJSON *any(const char *name);

    std::string required_text(const char *name);

    /// To be called when everything was asked for.
    void end() const;

private:
    const cJSON *object_;
    std::set<std::string> asked_{};
};

/// A whole number of 32 bits from a word. Throws std::invalid_argument.
int parse_number(const std::string &word, const char *what);

} // namespace kv::virtual_agent
