// SPDX-License-Identifier: Apache-2.0
#ifndef KORVANE_CALL_HPP
#define KORVANE_CALL_HPP

#include "result.hpp"

#include <array>
#include <climits>
#include <memory>
#include <vector>

/// One call of a C function: C++ arguments in, a Result out. Applications need nothing of this file.
namespace korvane::detail {

/// Finds the name of a C function in what the compiler calls this instance.
template <auto Function>
constexpr std::string_view find_name() noexcept
{
    // g++ writes "[with auto Function = korvane_start; ...]", clang++ "[Function = &korvane_start]".
    std::string_view text = __PRETTY_FUNCTION__;
    text.remove_prefix(text.find("Function = ") + 11);
    if (text.front() == '&')
        text.remove_prefix(1);
    return text.substr(0, text.find_first_of(";]"));
}

/// The name of a C function. A constant, so that no event searches for it.
template <auto Function>
inline constexpr std::string_view name = find_name<Function>();

template <auto Function>
constexpr std::string_view name_of() noexcept
{
    return name<Function>;
}

/// The outcome of a function with this code.
template <auto Function>
Result<void> outcome(int code) noexcept
{
    return Result<void>{code, name_of<Function>()};
}

inline constexpr int invalid = KORVANE_ERROR_INVALID_PARAMETER;

/// A text that ends with NUL, as C functions want it.
class CText {
public:
    explicit CText(std::string_view text) : text_(text), valid_(text.find('\0') == std::string_view::npos) {}
    /// A text with a NUL inside would be sent cut off.
    bool valid() const noexcept { return valid_; }
    operator const char *() const noexcept { return text_.c_str(); }

private:
    std::string text_;
    bool valid_;
};

/// Texts that end with NUL.
class CTexts {
public:
    explicit CTexts(const std::vector<std::string> &texts)
    {
        pointers_.reserve(texts.size());
        for (const std::string &text : texts) {
            valid_ = valid_ && text.find('\0') == std::string::npos;
            pointers_.push_back(text.c_str());
        }
    }
    bool valid() const noexcept { return valid_ && pointers_.size() <= INT_MAX; }
    const char *const *data() const noexcept { return pointers_.data(); }
    int count() const noexcept { return static_cast<int>(pointers_.size()); }

private:
    std::vector<const char *> pointers_{};
    bool valid_ = true;
};

/// Converts an argument; everything but texts is passed on.
inline CText to_c(std::string_view text)
{
    return CText{text};
}
inline CText to_c(const std::string &text)
{
    return CText{text};
}
inline CText to_c(const char *text)
{
    return CText{text ? std::string_view{text} : std::string_view{}};
}
template <class T>
T to_c(T value) noexcept
{
    return value;
}

inline bool valid(const CText &text) noexcept
{
    return text.valid();
}
template <class T>
constexpr bool valid(const T &) noexcept
{
    return true;
}

/// Calls Function with converted arguments.
template <auto Function, class First, class... Rest>
Result<void> call(First first, const Rest &...rest)
{
    return [first](const auto &...converted) {
        return outcome<Function>((valid(converted) && ...) ? Function(first, converted...) : invalid);
    }(to_c(rest)...);
}

/// Calls Function, whose last argument is an out argument of type T.
template <auto Function, class T, class Handle>
Result<T> read(Handle handle)
{
    T value{};
    if (const int code = Function(handle, &value))
        return outcome<Function>(code);
    return {value, name_of<Function>()};
}

struct Free {
    void operator()(char *text) const noexcept { std::free(text); }
};
using OwnedText = std::unique_ptr<char, Free>;

/// Calls Function, whose last argument is an out argument for a text that the caller frees. A text that the agent sent as
/// another type is a failure: there is nothing to return.
template <auto Function, class Handle>
Result<std::string> read_text(Handle handle)
{
    char *text = nullptr;
    const int code = Function(handle, &text);
    const OwnedText owned{text};
    if (code != KORVANE_ERROR_NONE)
        return outcome<Function>(code);
    if (!text)
        return outcome<Function>(KORVANE_ERROR_OPERATION_FAILED);
    return {std::string{text}, name_of<Function>()};
}

/// Fails without a call, as the library does for an invalid argument.
template <auto Function>
Result<void> refuse() noexcept
{
    return outcome<Function>(invalid);
}

} // namespace korvane::detail

#endif
