// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace kv::host {

// The proxy opens two links and sends a request on each: a frame with a mark, the protocol version, the link's number,
// a random token that is the same on both links, and a name for log lines. When both have arrived, the stub replies
// on the main link: a frame with a mark, its protocol version, and 0 or a negative code.

inline constexpr uint32_t protocol_version = 1;
inline constexpr size_t token_size = 16;
inline constexpr size_t max_sender = 255;
inline constexpr size_t request_head = 4 + 4 + 4 + 1 + token_size + 4;
inline constexpr size_t max_request_size = request_head + max_sender;
inline constexpr size_t reply_size = 4 + 4 + 4 + 4;

struct HandshakeRequest {
    uint32_t version;
    uint8_t link; ///< 0 main, 1 callback
    uint8_t token[token_size];
    char sender[max_sender + 1];
};

struct HandshakeReply {
    uint32_t version;
    int32_t code;
};

enum class Parsed { incomplete, whole, malformed };

/// Returns the number of bytes written, at most max_request_size.
size_t write_handshake_request(uint8_t *bytes, const HandshakeRequest &request);
Parsed read_handshake_request(const uint8_t *bytes, size_t size, HandshakeRequest *request);
void write_handshake_reply(uint8_t *bytes, const HandshakeReply &reply);
Parsed read_handshake_reply(const uint8_t *bytes, size_t size, HandshakeReply *reply);

} // namespace kv::host
