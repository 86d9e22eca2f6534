// SPDX-License-Identifier: Apache-2.0
#include "output.hpp"

#include <algorithm>
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

void Output::line(const std::string &text, const Json &object) const
{
    std::printf("%s\n", json ? text_of(object).c_str() : text.c_str());
    std::fflush(stdout);
}

void Output::remark(const std::string &text) const
{
    if (json)
        return;
    std::printf("%s\n", text.c_str());
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

std::string members_text(const Json &object)
{
    std::string text;
    for (const auto &[name, value] : object.items())
        text.append(text.empty() ? "" : ", ").append(name).append(" ").append(text_of(value));
    return text;
}

std::string printable(const std::string &text)
{
    const auto is_control = [](unsigned char byte) {
        return (byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7f;
    };
    std::string clean = text;
    std::replace_if(clean.begin(), clean.end(), is_control, '?');
    // U+0080 to U+009F: also control characters, of two bytes in UTF-8.
    for (std::size_t at = 0; (at = clean.find('\xc2', at)) != std::string::npos; ++at)
        if (at + 1 < clean.size() && static_cast<unsigned char>(clean[at + 1]) < 0xa0)
            clean.replace(at, 2, "?");
    return clean;
}

} // namespace kv::ctl
