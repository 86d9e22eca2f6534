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

/// What is to be known of one entry. Most are never looked at, so it is put together when somebody wants to know it.
class Facts {
public:
    virtual ~Facts() = default;
    virtual Json json() const = 0;
    virtual std::string words() const = 0;
    /// That it takes to remember them.
    virtual std::size_t bytes() const = 0;
};

/// What happened, an entry each: the latest are remembered, and all are written as JSON to a file and in words to stderr,
/// as far as either is wanted.
class Journal {
public:
    static constexpr std::size_t most_entries = 10'000;
    static constexpr std::size_t most_bytes = 16 << 20;

    Journal() = default;
    /// Opens the file for appending when there is a path. Throws std::system_error when it cannot be opened.
    Journal(const std::string &path, bool verbose);

    /// What is remembered of one entry.
    struct Entry {
        std::int64_t seq;       // one more than that of the entry before
        std::int64_t time_us;   // when it began
        std::int64_t end_bytes; // all that was ever noted, up to its end
        std::shared_ptr<const Facts> facts;

        /// "seq" and "time_us", and the facts behind them.
        Json json() const;
        /// The same as a line.
        std::string text() const { return json().text(); }
    };

    using Hear = std::function<void(const Entry &entry)>;
    /// As long as it lives, each entry is told. It must not outlive the journal.
    using Listener = std::shared_ptr<const Hear>;
    Listener listen(Hear hear);

    void write(std::int64_t time_us, std::shared_ptr<const Facts> facts);
    /// The same for facts that are at hand.
    void write(std::int64_t time_us, const Json &facts, std::string words);

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

    void remember(const Entry &entry);
    void tell(const Entry &entry);

    std::unique_ptr<std::FILE, Close> file_;
    bool verbose_ = false;
    std::int64_t last_seq_ = 0;
    std::int64_t noted_bytes_ = 0;
    std::size_t kept_bytes_ = 0;
    std::deque<Entry> entries_{};
    std::vector<std::weak_ptr<const Hear>> listeners_{};
    int telling_ = 0;
};

/// The members of an object in words: name "x", mode 0.
std::string in_words(const Json &object);

} // namespace kv::virtual_agent
