// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

/// Targets make errors by design, and every one would print lines.
inline const int quiet = ::setenv("KORVANE_LOG", "off", 0);

/// The bytes of one input, taken from the front. At their end every number is 0 and every text is empty.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t *data, std::size_t size) : left_(reinterpret_cast<const char *>(data), size) {}

    bool at_end() const { return left_.empty(); }
    unsigned byte()
    {
        if (at_end())
            return 0;
        const unsigned value = static_cast<unsigned char>(left_.front());
        left_.remove_prefix(1);
        return value;
    }
    /// A number below `end`.
    std::size_t below(std::size_t end) { return byte() % end; }
    /// A text behind its length in one byte.
    std::string text() { return take(byte()); }
    /// The text before the next newline, which is removed too.
    std::string line()
    {
        std::string text = take(left_.find('\n'));
        byte();
        return text;
    }
    std::string rest() { return take(left_.size()); }

private:
    std::string take(std::size_t size)
    {
        std::string text{left_.substr(0, size)};
        left_.remove_prefix(text.size());
        return text;
    }

    std::string_view left_;
};

/// Ends the program, which makes the input a finding, unless the condition holds.
inline void must(bool holds, const char *otherwise)
{
    if (holds)
        return;
    std::fprintf(stderr, "%s\n", otherwise);
    std::abort();
}
