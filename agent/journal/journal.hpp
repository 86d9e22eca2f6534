// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <cstdint>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The content of one entry. Most entries are never read, so a request keeps its bytes and decodes them on demand.
class Facts {
public:
    virtual ~Facts() = default;
    virtual Json json() const = 0;
    virtual std::string words() const = 0;
    /// The memory that keeping them takes.
    virtual std::size_t bytes() const = 0;
};

/// The record of what happened, one entry each. It keeps the latest entries, and writes all of them as JSON to a file
/// and in words to stderr if asked to.
class Journal {
public:
    static constexpr std::size_t max_entries = 10'000;
    static constexpr std::size_t max_bytes = 16 << 20;

    Journal() = default;
    /// Opens the file for appending, unless `path` is empty. A new file is readable by its owner only. Throws
    /// std::system_error if the file cannot be opened.
    Journal(const std::string &path, bool verbose);

    struct Entry {
        std::int64_t seq;       // counts up by one
        std::int64_t time_us;   // when it began
        std::int64_t end_bytes; // the size of all entries ever written, this one included
        std::shared_ptr<const Facts> facts;

        /// "seq" and "time_us", followed by the facts.
        Json json() const;
        /// The same as a line.
        std::string text() const { return json().text(); }
    };

    using OnEntry = std::function<void(const Entry &entry)>;
    /// Calls back for each entry until it is released. It must not outlive the journal.
    using Listener = std::shared_ptr<const OnEntry>;
    Listener listen(OnEntry on_entry);

    void write(std::int64_t time_us, std::shared_ptr<const Facts> facts);
    /// The same for facts that are complete already.
    void write(std::int64_t time_us, const Json &facts, std::string words);

    const std::deque<Entry> &entries() const { return entries_; }
    /// The number of the next entry. The first entry has number 1.
    std::int64_t next_seq() const { return last_seq_ + 1; }
    /// The first kept entry whose number is at least `seq`.
    std::deque<Entry>::const_iterator from(std::int64_t seq) const;
    /// Removes the entries. The numbers count on.
    void clear();

    /// Wall-clock microseconds, the unit of `time_us`.
    static std::int64_t now();

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    void keep(const Entry &entry);
    void write_line(const Entry &entry);
    void print(const Entry &entry) const;
    void call_listeners(const Entry &entry);

    std::unique_ptr<std::FILE, Close> file_;
    bool verbose_ = false;
    std::int64_t last_seq_ = 0;
    std::int64_t written_bytes_ = 0;
    std::size_t kept_bytes_ = 0;
    std::deque<Entry> entries_{};
    std::vector<std::weak_ptr<const OnEntry>> listeners_{};
    int calls_ = 0; // of listeners that are under way
};

} // namespace kv::virtual_agent
