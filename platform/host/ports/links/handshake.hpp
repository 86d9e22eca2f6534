// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kv::host {

// How a connection begins. The caller opens two links and says on each, as a frame: a mark, the version of these
// rules, which link it is, a random token that ties the two together, and a name for log lines. Once both are there,
// the serving side answers on the main link: the mark, its version, and 0 or a negative code.

inline constexpr uint32_t hello_version = 1;
inline constexpr size_t token_size = 16;
inline constexpr size_t longest_sender = 255;
inline constexpr size_t hello_head = 4 + 4 + 4 + 1 + token_size + 4;
inline constexpr size_t longest_hello = hello_head + longest_sender;
inline constexpr size_t answer_size = 4 + 4 + 4 + 4;

struct Hello {
    uint32_t version;
    uint8_t link; ///< 0 main, 1 callback
    uint8_t token[token_size];
    char sender[longest_sender + 1];
};

struct Answer {
    uint32_t version;
    int32_t code;
};

enum class Parsed { incomplete, whole, malformed };

/// The bytes written, at most longest_hello.
size_t write_hello(uint8_t *bytes, const Hello &hello);
Parsed read_hello(const uint8_t *bytes, size_t size, Hello *hello);
void write_answer(uint8_t *bytes, const Answer &answer);
Parsed read_answer(const uint8_t *bytes, size_t size, Answer *answer);

} // namespace kv::host
