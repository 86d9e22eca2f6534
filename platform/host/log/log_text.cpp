// SPDX-License-Identifier: Apache-2.0
#include "log_text.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kv::host {

namespace {

constexpr char cut_mark[] = " [cut: out of memory]";
constexpr std::size_t cut_mark_size = sizeof cut_mark - 1;

/// The length of the printable UTF-8 character at the front. 0 for a control character (of the second control block
/// too, which terminals obey), an overlong sequence, a surrogate, or bytes that are not UTF-8.
std::size_t printable_length(const unsigned char *bytes, std::size_t size)
{
    const unsigned char lead = bytes[0];
    if (lead < 0x80)
        return lead >= 0x20 && lead != 0x7f ? 1 : 0;

    std::size_t length = 0;
    std::uint32_t smallest = 0;
    std::uint32_t character = 0;
    if ((lead & 0xe0) == 0xc0) {
        length = 2;
        smallest = 0xa0;
        character = lead & 0x1fU;
    } else if ((lead & 0xf0) == 0xe0) {
        length = 3;
        smallest = 0x800;
        character = lead & 0x0fU;
    } else if ((lead & 0xf8) == 0xf0) {
        length = 4;
        smallest = 0x10000;
        character = lead & 0x07U;
    }
    if (length == 0 || length > size)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((bytes[i] & 0xc0) != 0x80)
            return 0;
        character = (character << 6) | (bytes[i] & 0x3fU);
    }
    const bool surrogate = character >= 0xd800 && character <= 0xdfff;
    return character >= smallest && character <= 0x10ffff && !surrogate ? length : 0;
}

} // namespace

/// Makes room for `more` bytes, the cut mark and a final NUL. False when out of memory.
bool LogText::make_room(std::size_t more)
{
    if (is_cut_)
        return false;
    const std::size_t reserve = cut_mark_size + 1;
    if (more <= capacity_ - size_ - reserve)
        return true;
    if (more > SIZE_MAX / 4)
        return false;
    const std::size_t capacity = std::max(capacity_ * 2, size_ + more + reserve);
    auto *text = static_cast<char *>(realloc(heap_.get(), capacity));
    if (!text)
        return false;
    if (!heap_)
        memcpy(text, stack_, size_);
    (void)heap_.release(); // realloc has released it
    heap_.reset(text);
    text_ = text;
    capacity_ = capacity;
    return true;
}

void LogText::cut()
{
    if (is_cut_)
        return;
    is_cut_ = true;
    memcpy(text_ + size_, cut_mark, cut_mark_size);
    size_ += cut_mark_size;
}

void LogText::append(const char *bytes, std::size_t size)
{
    if (is_cut_)
        return;
    const bool fits = make_room(size);
    const std::size_t kept = fits ? size : capacity_ - size_ - cut_mark_size - 1;
    memcpy(text_ + size_, bytes, kept);
    size_ += kept;
    if (!fits)
        cut();
}

void LogText::append(const char *text)
{
    append(text, strlen(text));
}

void LogText::append_format(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    append_format_list(format, arguments);
    va_end(arguments);
}

void LogText::append_format_list(const char *format, va_list arguments)
{
    if (is_cut_)
        return;
    va_list again;
    va_copy(again, arguments);
    const std::size_t room = capacity_ - size_ - cut_mark_size;
    const int length = vsnprintf(text_ + size_, room, format, arguments);
    if (length < 0) {
        append("[message could not be formatted] ");
        append(format);
    } else if (static_cast<std::size_t>(length) < room) {
        size_ += static_cast<std::size_t>(length);
    } else if (make_room(static_cast<std::size_t>(length))) {
        vsnprintf(text_ + size_, static_cast<std::size_t>(length) + 1, format, again);
        size_ += static_cast<std::size_t>(length);
    } else {
        size_ += room - 1;
        cut();
    }
    va_end(again);
}

void LogText::append_escaped(const char *bytes, std::size_t size)
{
    const auto *next = reinterpret_cast<const unsigned char *>(bytes);
    const unsigned char *const end = next + size;
    while (next != end && !is_cut_) {
        const unsigned char *const run = next;
        std::size_t length = 0;
        while (next != end && (length = printable_length(next, static_cast<std::size_t>(end - next))) != 0)
            next += length;
        append(reinterpret_cast<const char *>(run), static_cast<std::size_t>(next - run));
        if (next == end)
            return;
        switch (*next) {
        case '\n': append("\\n"); break;
        case '\r': append("\\r"); break;
        case '\t': append("\\t"); break;
        default: append_format("\\x%02x", *next); break;
        }
        ++next;
    }
}

void LogText::drop_trailing_newlines()
{
    while (size_ > 0 && (text_[size_ - 1] == '\n' || text_[size_ - 1] == '\r'))
        --size_;
}

} // namespace kv::host
