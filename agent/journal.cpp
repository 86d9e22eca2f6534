// SPDX-License-Identifier: Apache-2.0
#include "journal.hpp"

#include <glib.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>

namespace kv::virtual_agent {

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

void Journal::write(std::int64_t time_us, Json facts, const std::string &words)
{
    std::erase_if(listeners_, [](const auto &listener) { return listener.expired(); });
    for (const auto &listener : std::vector{listeners_}) // one may go, or come, when it hears something
        if (const Listener hear = listener.lock())
            (*hear)(facts);
    if (file_) {
        Json line = Json::object();
        line.set("time_us", time_us);
        for (const cJSON *fact = facts.get()->child; fact; fact = fact->next)
            line.set(fact->string, Json::parse(text_of(fact)));
        if (std::fprintf(file_.get(), "%s\n", line.text().c_str()) < 0 || std::fflush(file_.get()) != 0) {
            std::fprintf(stderr, "korvane-agent: cannot write the log: %s; it ends here\n", std::strerror(errno));
            file_.reset();
        }
    }
    if (verbose_) {
        const std::time_t seconds = time_us / G_USEC_PER_SEC;
        std::tm local{};
        localtime_r(&seconds, &local);
        std::fprintf(stderr, "%02d:%02d:%02d.%06d  %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                     static_cast<int>(time_us % G_USEC_PER_SEC), words.c_str());
    }
}

std::string in_words(const Json &object)
{
    std::string words;
    for (const cJSON *member = object.get()->child; member; member = member->next)
        words.append(words.empty() ? "" : ", ").append(member->string).append(" ").append(text_of(member));
    return words;
}

} // namespace kv::virtual_agent
