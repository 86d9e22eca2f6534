// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"
#include "positions.hpp"

#include <map>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The variables of one file of a scenario. In its texts "${name}" is replaced by the value of a variable.
class Variables {
public:
    /// Reads the declared variables and their values. A member of `given` replaces the declared value; both may be null.
    /// A declared value may use the variables before it. Throws Mistake.
    Variables(const cJSON *declared, const cJSON *given, Positions &positions, std::size_t &bytes_left);

    /// A copy in which the values replace the variables, with the positions of the original. The length of the values is
    /// taken from `bytes_left`. Throws Mistake for a variable that is not declared.
    Json applied_to(const cJSON *value, Positions &positions, std::size_t &bytes_left) const;

private:
    class Replacement;

    Json values_ = Json::object();
};

/// The names of the members of an object; empty for any other value.
std::vector<std::string> names_in(const cJSON *object);

/// The values of the declared variables among words from a command line. A word is the value of a text; another value
/// is read as JSON. Throws Mistake if a word has another kind than the declared value.
Json values_from_words(const std::map<std::string, std::string> &words, const cJSON *declared);

} // namespace kv::virtual_agent
