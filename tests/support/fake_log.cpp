// SPDX-License-Identifier: Apache-2.0
#include "fake_log.hpp"

#include <algorithm>
#include <ostream>
#include <string_view>

namespace kv::test {

namespace {

constexpr std::string_view api_tag = "KORVANE-API";
constexpr std::string_view proxy_tag = "RPC_PORT_PROXY";

constexpr int info = 4;
constexpr int warning = 5;
constexpr int error = 6;

LogLine api_line(int priority, std::string function, std::string message)
{
    return {priority, std::string(api_tag), "korvane.cpp", std::move(function), "2.3.3", std::move(message)};
}

LogLine common_line(int priority, std::string function, std::string message)
{
    return {priority, std::string(api_tag), "korvane_common.cpp", std::move(function), "2.3.3", std::move(message)};
}

LogLine proxy_line(int priority, std::string function, std::string message)
{
    return {priority, std::string(proxy_tag), "korvane_master_proxy.cpp", std::move(function), "", std::move(message)};
}

LogLines filtered(const LogLines &lines, auto keep)
{
    LogLines kept;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(kept), keep);
    return kept;
}

/// Parses a text from its beginning. After the first mismatch every further step fails.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    Scanner &literal(std::string_view expected) { return take(rest_.starts_with(expected) ? expected.size() : 0); }
    /// A name that ends before one of these characters.
    Scanner &word(std::string &out, const char *ends)
    {
        const auto length = std::min(rest_.find_first_of(ends), rest_.size());
        out = rest_.substr(0, length);
        return take(length);
    }
    /// A line number without sign and leading zero.
    Scanner &number()
    {
        const auto length = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
        return take(rest_.starts_with('0') ? 0 : length);
    }
    bool remainder(std::string &out)
    {
        out = rest_;
        return good_;
    }

private:
    Scanner &take(std::size_t length)
    {
        good_ = good_ && length > 0;
        rest_.remove_prefix(good_ ? length : 0);
        return *this;
    }

    std::string_view rest_;
    bool good_ = true;
};

/// "FILE : FUNCTION(LINE) >[2.3.3] MESSAGE\n"
bool take_api_line(const std::string &text, LogLine &line)
{
    Scanner scanner(text);
    scanner.word(line.file, " ").literal(" : ").word(line.function, " (").literal("(").number().literal(") >[");
    scanner.word(line.api_version, "] ").literal("] ");
    if (!scanner.remainder(line.message) || !line.message.ends_with('\n'))
        return false;
    line.message.pop_back();
    return true;
}

/// "FILE: FUNCTION(LINE) > MESSAGE"
bool take_proxy_line(const std::string &text, LogLine &line)
{
    Scanner scanner(text);
    scanner.word(line.file, ": ").literal(": ").word(line.function, " (").literal("(").number().literal(") > ");
    return scanner.remainder(line.message);
}

} // namespace

std::ostream &operator<<(std::ostream &out, const LogLine &line)
{
    return out << "{" << line.priority << " " << line.tag << " " << line.file << " " << line.function << " ["
               << line.api_version << "] \"" << line.message << "\"}";
}

LogLine api_info(std::string function, std::string message)
{
    return api_line(info, std::move(function), std::move(message));
}

LogLine api_warning(std::string function, std::string message)
{
    return api_line(warning, std::move(function), std::move(message));
}

LogLine api_error(std::string function, std::string message)
{
    return api_line(error, std::move(function), std::move(message));
}

LogLine common_info(std::string function, std::string message)
{
    return common_line(info, std::move(function), std::move(message));
}

LogLine common_error(std::string function, std::string message)
{
    return common_line(error, std::move(function), std::move(message));
}

LogLine proxy_info(std::string function, std::string message)
{
    return proxy_line(info, std::move(function), std::move(message));
}

LogLine proxy_warning(std::string function, std::string message)
{
    return proxy_line(warning, std::move(function), std::move(message));
}

LogLine proxy_error(std::string function, std::string message)
{
    return proxy_line(error, std::move(function), std::move(message));
}

void Log::add(int priority, const char *tag, const std::string &text)
{
    LogLine line{priority, tag, "", "", "", ""};
    const bool well_formed =
        tag == api_tag ? take_api_line(text, line) : tag == proxy_tag && take_proxy_line(text, line);
    if (well_formed)
        lines_.push_back(line);
    else
        malformed_.push_back(std::string(tag) + ": " + text);
}

LogLines Log::api() const
{
    return filtered(lines_, [](const LogLine &line) { return line.tag == api_tag; });
}

LogLines Log::proxy() const
{
    return filtered(lines_, [](const LogLine &line) { return line.tag == proxy_tag; });
}

LogLines Log::errors() const
{
    return filtered(lines_, [](const LogLine &line) { return line.priority == error; });
}

unsigned Log::count(std::string_view message) const
{
    return static_cast<unsigned>(
        std::count_if(lines_.begin(), lines_.end(), [&](const LogLine &line) { return line.message == message; }));
}

bool Log::has(const LogLine &line) const
{
    return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
}

} // namespace kv::test
