// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace kv::test {

/// A new directory, for its owner only, below the system's directory for temporary files. It is removed with all its
/// content on destruction.
class TemporaryDirectory {
public:
    /// Throws std::system_error if the directory cannot be made. `prefix` begins its name.
    explicit TemporaryDirectory(const std::string &prefix = "korvane-test");
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    ~TemporaryDirectory();

    const std::filesystem::path &path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path &name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

} // namespace kv::test
