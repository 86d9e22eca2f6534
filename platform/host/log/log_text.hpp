// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>
#include <cstddef>

#include "platform/host/owned.hpp"

namespace kv::host {

/// Text that grows: on the stack while it is short, on the heap beyond that. Without memory the text is cut and ends
/// with a mark that says so.
class LogText {
public:
    LogText() = default;
    LogText(const LogText &) = delete;
    LogText &operator=(const LogText &) = delete;

    void append(const char *bytes, std::size_t size);
    void append(const char *text);
    [[gnu::format(printf, 2, 3)]] void append_format(const char *format, ...);
    [[gnu::format(printf, 2, 0)]] void append_format_list(const char *format, va_list arguments);
    /// Appends text from outside so that it can neither control a terminal nor begin a new line: control characters and
    /// bytes that are not UTF-8 become backslash escapes.
    void append_escaped(const char *bytes, std::size_t size);
    void drop_trailing_newlines();

    const char *data() const { return text_; }
    std::size_t size() const { return size_; }
    bool is_cut() const { return is_cut_; }

private:
    bool make_room(std::size_t more);
    void cut();

    static constexpr std::size_t stack_size = 1024;
    char stack_[stack_size];
    CText heap_; ///< holds the text once it is too long for the stack
    char *text_ = stack_;
    std::size_t capacity_ = stack_size;
    std::size_t size_ = 0;
    bool is_cut_ = false;
};

} // namespace kv::host
