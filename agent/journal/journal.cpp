// SPDX-License-Identifier: Apache-2.0
#include "journal.hpp"

#include <glib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>

namespace kv::virtual_agent {

namespace {

/// Facts that were at hand, as one text.
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
    file_.reset(std::fopen(path.c_str(), "ae"));
    if (!file_)
        throw std::system_error{errno, std::generic_category(), "cannot open the log " + path};
    // Whole lines, each as soon as it is there: others read along.
    std::setvbuf(file_.get(), nullptr, _IOLBF, 1 << 16);
}

std::int64_t Journal::now()
{
    return g_get_real_time();
}

Journal::Listener Journal::listen(Hear hear)
{
    auto listener = std::make_shared<const Hear>(std::move(hear));
    listeners_.push_back(listener);
    return listener;
}

void Journal::write(std::int64_t time_us, const Json &facts, std::string words)
{
    write(time_us, std::make_shared<ReadyFacts>(facts, std::move(words)));
}

void Journal::write(std::int64_t time_us, std::shared_ptr<const Facts> facts)
{
    noted_bytes_ += static_cast<std::int64_t>(facts->bytes());
    const Entry entry{++last_seq_, time_us, noted_bytes_, std::move(facts)};
    remember(entry);
    if (file_ && (std::fprintf(file_.get(), "%s\n", entry.text().c_str()) < 0 || std::fflush(file_.get()) != 0)) {
        std::fprintf(stderr, "korvane-agent: cannot write the log: %s; it ends here\n", std::strerror(errno));
        file_.reset();
    }
    if (verbose_) {
        const std::time_t seconds = time_us / G_USEC_PER_SEC;
        std::tm local{};
        localtime_r(&seconds, &local);
        std::fprintf(stderr, "%02d:%02d:%02d.%06d  %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                     static_cast<int>(time_us % G_USEC_PER_SEC), entry.facts->words().c_str());
    }
    tell(entry);
}

/// A listener may go, or come, or write another entry, when it hears something.
void Journal::tell(const Entry &entry)
{
    if (telling_ == 0)
        std::erase_if(listeners_, [](const auto &listener) { return listener.expired(); });
    const struct Deeper {
        explicit Deeper(int &depth) : depth_(++depth) {}
        ~Deeper() { --depth_; }
        Deeper(const Deeper &) = delete;
        Deeper &operator=(const Deeper &) = delete;
        int &depth_;
    } telling{telling_};
    for (std::size_t i = 0; i < listeners_.size(); ++i)
        if (const Listener hear = listeners_[i].lock())
            (*hear)(entry);
}

void Journal::remember(const Entry &entry)
{
    kept_bytes_ += entry.facts->bytes();
    entries_.push_back(entry);
    while (entries_.size() > most_entries || kept_bytes_ > most_bytes) {
        kept_bytes_ -= entries_.front().facts->bytes();
        entries_.pop_front();
    }
}

std::deque<Journal::Entry>::const_iterator Journal::from(std::int64_t seq) const
{
    const std::int64_t first = next_seq() - static_cast<std::int64_t>(entries_.size());
    return entries_.begin() + std::clamp<std::int64_t>(seq - first, 0, next_seq() - first);
}

void Journal::clear()
{
    entries_.clear();
    entries_.shrink_to_fit();
    kept_bytes_ = 0;
}

std::string in_words(const Json &object)
{
    std::string words;
    for (const cJSON *member = object.get()->child; member; member = member->next)
        words.append(words.empty() ? "" : ", ").append(member->string).append(" ").append(text_of(member));
    return words;
}

} // namespace kv::virtual_agent
