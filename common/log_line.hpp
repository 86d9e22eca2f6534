// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fixed_text.hpp"

#include <dlog.h>

#include <type_traits>

namespace kv {

/// The function that a log line names. As a default argument it is the function with the call.
struct Caller {
    const char *function;
    int line;

    static constexpr Caller here(const char *function = __builtin_FUNCTION(), int line = __builtin_LINE())
    {
        return {function, line};
    }
};

/// A message with its printf conversions as a type, written as "status [%d]"_fmt.
template <FixedText Message>
struct Format {
};

// Not consteval: clang 14 does not evaluate such a call inside a template, and then misses the function.
template <FixedText Message>
constexpr Format<Message> operator""_fmt()
{
    return {};
}

namespace detail {

template <class Arg>
consteval bool converts_as(char conversion)
{
    switch (conversion) {
    case 'd': return std::is_same_v<Arg, int>;
    case 'u': return std::is_same_v<Arg, unsigned>;
    case 'x': return std::is_same_v<Arg, unsigned> || std::is_same_v<Arg, int>;
    case 's': return std::is_same_v<Arg, const char *> || std::is_same_v<Arg, char *>;
    case 'p': return std::is_pointer_v<Arg>;
    default: return false;
    }
}

template <FixedText Message>
consteval bool is_plain()
{
    for (std::size_t i = 0; i < Message.length(); ++i)
        if (Message.text[i] == '%')
            return false;
    return true;
}

/// Whether the message has one conversion per argument, each fit for its type.
template <FixedText Message, class... Args>
consteval bool takes()
{
    [[maybe_unused]] char conversions[Message.length() + 1]{};
    std::size_t count = 0;
    for (std::size_t i = 0; i < Message.length(); ++i) {
        if (Message.text[i] != '%')
            continue;
        if (Message.text[++i] != '%')
            conversions[count++] = Message.text[i];
    }
    std::size_t next = 0;
    return count == sizeof...(Args) && (converts_as<Args>(conversions[next++]) && ...);
}

} // namespace detail

enum class Priority { info = 4, warning = 5, error = 6 };

/// Writes one line. The compiler concatenates the format that the platform receives, so a line below the log level costs
/// one call and no formatting. Source defines tag, prefix and suffix. Messages without conversions share one format, so
/// that the prefix is not stored with each of them.
template <class Source>
class LogLine {
public:
    constexpr LogLine(Priority priority, Caller caller) : priority_(priority), caller_(caller) {}

    template <FixedText Message, class... Args>
    void operator()(Format<Message>, Args... args) const
    {
        static_assert(detail::takes<Message, Args...>(), "the arguments do not fit the conversions of the message");
        if constexpr (detail::is_plain<Message>())
            text(concat<Message>.text);
        else
            dlog_print(static_cast<int>(priority_), Source::tag, Source::template format<Message>(), caller_.function,
                       caller_.line, args...);
    }

    /// Writes a message without conversions.
    void text(const char *message) const { Source::print(static_cast<int>(priority_), caller_, message); }

private:
    Priority priority_;
    Caller caller_;
};

template <class Source>
struct Logger {
    static constexpr LogLine<Source> info(Caller caller = Caller::here()) { return {Priority::info, caller}; }
    static constexpr LogLine<Source> warning(Caller caller = Caller::here()) { return {Priority::warning, caller}; }
    static constexpr LogLine<Source> error(Caller caller = Caller::here()) { return {Priority::error, caller}; }
};

} // namespace kv
