// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What happened, a line each: as JSON in a file, and in words on stderr, as far as either is wanted.
class Journal {
public:
    Journal() = default;
    /// Opens the file for appending when there is a path. Throws std::system_error when it cannot be opened.
    Journal(const std::string &path, bool verbose);

    /// Whether anybody reads what is written; if not, it need not be put together.
    bool wanted() const { return file_ || verbose_ || !listeners_.empty(); }

    using Hear = std::function<void(const Json &facts)>;
    /// As long as it lives, each line's facts are told. It must not outlive the journal.
    using Listener = std::shared_ptr<const Hear>;
    Listener listen(Hear hear);

    /// The line's facts follow "time_us", the time at which it began.
    void write(std::int64_t time_us, Json facts, const std::string &words);

    /// Wall-clock microseconds, as the lines carry them.
    static std::int64_t now();

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> file_;
    bool verbose_ = false;
    std::vector<std::weak_ptr<const Hear>> listeners_{};
};

/// The members of an object in words: name "x", mode 0.
std::string in_words(const Json &object);

} // namespace kv::virtual_agent
