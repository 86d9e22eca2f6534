// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// Runs a part of a test in a child process, because a process reads its environment once and cannot restore its user or
/// its descriptors.
namespace kv::test {

struct ChildResult {
    int status = -1;                 ///< as of waitpid; 0 for a body that returned
    std::vector<std::string> writes; ///< to stderr, one element per write

    std::string text() const;
    std::vector<std::string> lines() const;
};

using Environment = std::map<std::string, std::optional<std::string>>; ///< without a value the variable is unset

/// Runs the body in a child and returns what it writes to stderr. A failed EXPECT or ASSERT of the body gives a status
/// other than 0. A child that does not end within the timeout of tests is killed.
ChildResult in_child(const Environment &environment, const std::function<void()> &body);

inline bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

} // namespace kv::test
