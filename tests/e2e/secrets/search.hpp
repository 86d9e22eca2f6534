// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace kv::test {

/// Searches for values that an output must not contain: as they are, in base64, in hexadecimal digits, and in parts of 12
/// bytes.
class SecretSearch {
public:
    /// The value has at least 24 bytes. Every line of a value with several lines is searched for by itself.
    void add(const std::string &name, const std::string &value);

    using Names = std::set<std::string>;

    /// The names of the values that the text contains.
    Names found_in(std::string_view text) const;
    /// The same for the content of a file, as "FILE: NAME", and for every file below a directory.
    Names found_in_file(const std::filesystem::path &file) const;
    Names found_below(const std::filesystem::path &directory, const std::filesystem::path &without = {}) const;
    /// The same for the command line and the environment of a process, as "cmdline: NAME" or "environ: NAME".
    Names found_in_process(pid_t pid) const;
    /// The same for every process whose command line and environment can be read, this one included.
    Names found_in_processes() const;

private:
    struct Spelling {
        std::string name;
        std::string text;
    };
    std::vector<Spelling> spellings_{};
};

} // namespace kv::test
