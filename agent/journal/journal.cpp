// SPDX-License-Identifier: Apache-2.0
#include "journal.hpp"

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace kv::virtual_agent {

namespace {

/// Facts that were complete when the entry was written, kept as one text.
class ReadyFacts final : public Facts {
public:
    ReadyFacts(const Json &facts, std::string words) : text_(facts.text()), words_(std::move(words)) {}
    Json json() const override { return Json::parse(text_); }
    std::string words() const override { return words_; }
    std::size_t bytes() const override { return text_.size() + words_.size(); }

private:
    std::string text_;
    std::string words_;
};

/// Whether a path names a descriptor of this process. Such a path is a symbolic link that no other user can replace.
bool is_descriptor(std::string_view path)
{
    return path == "/dev/stdout" || path == "/dev/stderr" || path.starts_with("/dev/fd/") ||
           path.starts_with("/proc/self/fd/");
}

} // namespace

Json Journal::Entry::json() const
{
    Json entry = Json::object();
    entry.set("seq", seq).set("time_us", time_us).add(facts->json());
    return entry;
}

Journal::Journal(const std::string &path, bool verbose) : verbose_(verbose)
{
    if (path.empty())
        return;
    // Arguments of requests may be private, so others must not read the file, nor choose it by a symbolic link.
    const int follow = is_descriptor(path) ? 0 : O_NOFOLLOW;
    const int fd =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | follow, S_IRUSR | S_IWUSR);
    if (fd < 0 && errno == ELOOP)
        throw std::runtime_error{"cannot open the log " + path + ": it is a symbolic link; name its target"};
    file_.reset(fd >= 0 ? ::fdopen(fd, "a") : nullptr);
    if (!file_)
        throw std::system_error{errno, std::generic_category(), "cannot open the log " + path};
    // Written line by line, because other programs follow the file.
    std::setvbuf(file_.get(), nullptr, _IOLBF, 1 << 16);
}

std::int64_t Journal::now()
{
    return g_get_real_time();
}

Journal::Listener Journal::listen(OnEntry on_entry)
{
    auto listener = std::make_shared<const OnEntry>(std::move(on_entry));
    listeners_.push_back(listener);
    return listener;
}

void Journal::write(std::int64_t time_us, const Json &facts, std::string words)
{
    write(time_us, std::make_shared<ReadyFacts>(facts, std::move(words)));
}

void Journal::write(std::int64_t time_us, std::shared_ptr<const Facts> facts)
{
    written_bytes_ += static_cast<std::int64_t>(facts->bytes());
    const Entry entry{++last_seq_, time_us, written_bytes_, std::move(facts)};
    keep(entry);
    if (file_)
        write_line(entry);
    if (verbose_)
        print(entry);
    call_listeners(entry);
}

void Journal::write_line(const Entry &entry)
{
    if (std::fprintf(file_.get(), "%s\n", entry.text().c_str()) >= 0 && std::fflush(file_.get()) == 0)
        return;
    std::fprintf(stderr, "korvane-agent: cannot write the log: %s; it ends here\n", std::strerror(errno));
    file_.reset();
}

void Journal::print(const Entry &entry) const
{
    const std::time_t seconds = entry.time_us / G_USEC_PER_SEC;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::fprintf(stderr, "%02d:%02d:%02d.%06d  %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                 static_cast<int>(entry.time_us % G_USEC_PER_SEC), entry.facts->words().c_str());
}

/// A listener may release itself, add another one or write an entry while it is called.
void Journal::call_listeners(const Entry &entry)
{
    if (calls_ == 0)
        std::erase_if(listeners_, [](const auto &listener) { return listener.expired(); });
    // Calls nest, and each walks the list by index, so only the outermost one removes from it.
    const struct CountedCall {
        explicit CountedCall(int &count) : count_(++count) {}
        ~CountedCall() { --count_; }
        CountedCall(const CountedCall &) = delete;
        CountedCall &operator=(const CountedCall &) = delete;
        int &count_;
    } counted{calls_};
    for (std::size_t i = 0; i < listeners_.size(); ++i)
        if (const Listener on_entry = listeners_[i].lock())
            (*on_entry)(entry);
}

/// Drops the oldest entries for the new one, and the new one as well if it is larger than all may be together.
void Journal::keep(const Entry &entry)
{
    kept_bytes_ += entry.facts->bytes();
    entries_.push_back(entry);
    while (entries_.size() > max_entries || kept_bytes_ > max_bytes) {
        kept_bytes_ -= entries_.front().facts->bytes();
        entries_.pop_front();
    }
}

std::deque<Journal::Entry>::const_iterator Journal::from(std::int64_t seq) const
{
    // The kept entries have consecutive numbers and end with the latest.
    const std::int64_t first = next_seq() - static_cast<std::int64_t>(entries_.size());
    return entries_.begin() + std::clamp<std::int64_t>(seq - first, 0, next_seq() - first);
}

void Journal::clear()
{
    entries_.clear();
    entries_.shrink_to_fit();
    kept_bytes_ = 0;
}

} // namespace kv::virtual_agent
