// SPDX-License-Identifier: Apache-2.0
#include "handshake.hpp"

#include <cstring>

#include "platform/host/ports/parcels/parcel.hpp"
#include <rpc_port_frame.h>

namespace kv::host {
namespace {

constexpr uint32_t request_mark = RPC_PORT_HANDSHAKE_REQUEST;
constexpr uint32_t reply_mark = RPC_PORT_HANDSHAKE_REPLY;
constexpr size_t link_at = frame_header + RPC_PORT_HANDSHAKE_LINK;
constexpr size_t code_at = frame_header + RPC_PORT_HANDSHAKE_CODE;

} // namespace

size_t write_handshake_request(uint8_t *bytes, const HandshakeRequest &request)
{
    const size_t length = strlen(request.sender);
    const size_t size = request_head + length;
    store_u32(bytes, static_cast<uint32_t>(size - frame_header));
    store_u32(bytes + 4, request_mark);
    store_u32(bytes + 8, request.version);
    bytes[link_at] = request.link;
    memcpy(bytes + 13, request.token, token_size);
    store_u32(bytes + 13 + token_size, static_cast<uint32_t>(length));
    memcpy(bytes + request_head, request.sender, length);
    return size;
}

Parsed read_handshake_request(const uint8_t *bytes, size_t size, HandshakeRequest *request)
{
    if (size < frame_header)
        return Parsed::incomplete;
    const size_t whole = frame_header + size_t{load_u32(bytes)};
    if (whole < request_head || whole > max_request_size || size > whole)
        return Parsed::malformed;
    if (size >= 8 && load_u32(bytes + 4) != request_mark)
        return Parsed::malformed;
    if (size < whole)
        return Parsed::incomplete;
    const size_t length = load_u32(bytes + 13 + token_size);
    if (length != whole - request_head || memchr(bytes + request_head, 0, length) || bytes[link_at] > 1)
        return Parsed::malformed;
    request->version = load_u32(bytes + 8);
    request->link = bytes[link_at];
    memcpy(request->token, bytes + 13, token_size);
    memcpy(request->sender, bytes + request_head, length);
    request->sender[length] = '\0';
    return Parsed::whole;
}

void write_handshake_reply(uint8_t *bytes, const HandshakeReply &reply)
{
    store_u32(bytes, reply_size - frame_header);
    store_u32(bytes + 4, reply_mark);
    store_u32(bytes + 8, reply.version);
    store_u32(bytes + code_at, static_cast<uint32_t>(reply.code));
}

Parsed read_handshake_reply(const uint8_t *bytes, size_t size, HandshakeReply *reply)
{
    if ((size >= 4 && load_u32(bytes) != reply_size - frame_header) || (size >= 8 && load_u32(bytes + 4) != reply_mark))
        return Parsed::malformed;
    if (size < reply_size)
        return Parsed::incomplete;
    reply->version = load_u32(bytes + 8);
    reply->code = static_cast<int32_t>(load_u32(bytes + code_at));
    return Parsed::whole;
}

} // namespace kv::host
