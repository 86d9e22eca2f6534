// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cjson/cJSON.h>

#include <stdexcept>
#include <string>
#include <unordered_map>

namespace kv::virtual_agent {

/// A line and a column of a text, from 1. A column counts bytes.
struct Position {
    int line = 1;
    int column = 1; // 0 if it is unknown

    /// "line 3, column 12", or "line 1" for a document that has no text.
    std::string text() const;
    static Position of(const std::string &text, std::size_t offset);
};

/// A mistake in a scenario, at one of its values.
struct Mistake : std::invalid_argument {
    Mistake(const cJSON *place, const std::string &problem) : std::invalid_argument{problem}, where(place) {}

    const cJSON *where;
};

/// The positions of the values of a JSON document in the text from which it was parsed.
class Positions {
public:
    /// No positions are known: the document did not come from a text.
    Positions() = default;
    Positions(const std::string &text, const cJSON *document);

    /// The position of a value, or of the member's name in front of it; line 1 for an unknown one.
    Position of(const cJSON *value) const;

    /// Gives a copy of a value, and everything in it, the positions of the original.
    void add_copy(const cJSON *copy, const cJSON *original);
    /// Gives everything in a value the position of the value itself.
    void spread(const cJSON *value);

private:
    class Reader;

    std::unordered_map<const cJSON *, Position> known_{};
};

} // namespace kv::virtual_agent
