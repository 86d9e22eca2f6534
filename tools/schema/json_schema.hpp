// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <string>
#include <vector>

/// The parts of a JSON Schema, draft 7.
namespace kv::schema {

using virtual_agent::Json;

/// A value of a type: "string", "object", ...
Json type(const char *name);
/// A value as a definition of the same schema describes it.
Json reference(const char *definition);
/// One of these texts.
Json one_of(const std::vector<std::string> &names);
/// A value that matches at least one of two schemas.
Json either(Json one, Json other);
/// A whole number in a range.
Json whole_number(int min, int max);
/// An array of such items.
Json array(Json items);
/// An object with these members and no others.
Json closed(Json members, const std::vector<std::string> &required);

/// Prints a schema: its title, the members of `shape`, and the definitions that they refer to.
void print(const char *title, const Json &shape, Json definitions);

} // namespace kv::schema
