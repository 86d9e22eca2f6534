// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// For what is decided once per process, by its environment, its user or its descriptors: a test's body in a child of
/// its own. Whatever the child writes to stderr comes back.
namespace host_test {

struct ChildResult {
    int status = -1;                 ///< as of waitpid; 0 for a body that returned
    std::vector<std::string> writes; ///< to stderr, one element per write

    std::string text() const;
    std::vector<std::string> lines() const;
};

using Environment = std::map<std::string, std::optional<std::string>>; ///< no value: unset

/// Runs the body; a child that takes longer than the deadline is killed, which its status shows. In the child
/// ASSERTs and EXPECTs of the body count through the exit status.
ChildResult in_child(const Environment &environment, const std::function<void()> &body);

/// A directory that goes with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

std::string contents_of(const std::string &path);

/// Whether the condition came true before the deadline; asks again and again in between, giving the CPU away.
bool comes_true(const std::function<bool()> &condition);

} // namespace host_test
