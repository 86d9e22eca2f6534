// SPDX-License-Identifier: Apache-2.0
#include "output.hpp"

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <unistd.h>

namespace kv::ctl {

Output::Output() : terminal_(isatty(STDOUT_FILENO) == 1)
{
    const char *no_colour = std::getenv("NO_COLOR");
    colours_ = terminal_ && !(no_colour && *no_colour);
}

std::string Output::in(Colour colour, const std::string &text) const
{
    static constexpr const char *codes[] = {"", "\033[2m", "\033[1m", "\033[31m", "\033[32m", "\033[33m", "\033[34m"};
    return colours_ && colour != Colour::plain ? codes[static_cast<int>(colour)] + text + "\033[0m" : text;
}

void Output::line(const std::string &words, const Json &facts) const
{
    std::printf("%s\n", json ? text_of(facts).c_str() : words.c_str());
    std::fflush(stdout);
}

void Output::say(const std::string &words) const
{
    if (json)
        return;
    std::printf("%s\n", words.c_str());
    std::fflush(stdout);
}

std::string time_of_day(long long time_us)
{
    const std::time_t seconds = static_cast<std::time_t>(time_us / 1'000'000);
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[64];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06d", local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(time_us % 1'000'000));
    return text;
}

std::string in_words(const Json &object)
{
    std::string words;
    for (const auto &[name, value] : object.items())
        words.append(words.empty() ? "" : ", ").append(name).append(" ").append(text_of(value));
    return words;
}

} // namespace kv::ctl
