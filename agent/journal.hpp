// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// What happened, an entry each: the latest are remembered, and all are written as JSON to a file and in words to stderr,
/// as far as either is wanted.
class Journal {
public:
    static constexpr std::size_t most_entries = 10'000;
    static constexpr std::size_t most_bytes = 16 << 20;

    Journal() = default;
    /// Opens the file for appending when there is a path. Throws std::system_error when it cannot be opened.
    Journal(const std::string &path, bool verbose);

    using Hear = std::function<void(const Json &entry)>;
    /// As long as it lives, each entry is told. It must not outlive the journal.
    using Listener = std::shared_ptr<const Hear>;
    Listener listen(Hear hear);

    /// The entry's facts follow "seq", its number, and "time_us", the time at which it began.
    void write(std::int64_t time_us, Json facts, const std::string &words);
    /// Whether anybody reads the words; if not, they need not be put together.
    bool verbose() const { return verbose_; }

    /// What is remembered of one entry.
    struct Entry {
        std::int64_t seq;       // one more than that of the entry before
        std::int64_t end_bytes; // all that was ever noted, up to its end
        std::string text;       // one line of JSON
    };
    const std::deque<Entry> &entries() const { return entries_; }
    /// The number of the next entry. Numbers begin with 1.
    std::int64_t next_seq() const { return last_seq_ + 1; }
    /// The first remembered entry from that number on.
    std::deque<Entry>::const_iterator from(std::int64_t seq) const;
    /// Forgets the entries; the numbers go on.
    void clear();

    /// Wall-clock microseconds, as the entries carry them.
    static std::int64_t now();

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    void remember(const std::string &text);

    std::unique_ptr<std::FILE, Close> file_;
    bool verbose_ = false;
    std::int64_t last_seq_ = 0;
    std::int64_t noted_bytes_ = 0;
    std::size_t kept_bytes_ = 0;
    std::deque<Entry> entries_{};
    std::vector<std::weak_ptr<const Hear>> listeners_{};
};

/// The members of an object in words: name "x", mode 0.
std::string in_words(const Json &object);

} // namespace kv::virtual_agent
