// SPDX-License-Identifier: Apache-2.0
#include "guard.hpp"

#include <openssl/crypto.h>
#include <openssl/rand.h>

#include <cstring>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

/// Empty for a missing header; the values of a repeated header as one list.
std::string header(SoupServerMessage *message, const char *name)
{
    const char *value = soup_message_headers_get_list(soup_server_message_get_request_headers(message), name);
    return value ? value : "";
}

/// Compares in constant time.
bool same(const std::string &given, const std::string &wanted)
{
    return given.size() == wanted.size() && CRYPTO_memcmp(given.data(), wanted.data(), wanted.size()) == 0;
}

} // namespace

Guard::Guard(int port, std::string token) : port_(port), token_(std::move(token)) {}

std::string Guard::new_token()
{
    unsigned char bytes[32];
    if (RAND_bytes(bytes, sizeof bytes) != 1)
        throw std::runtime_error{"cannot create a random token; give one with --http-token"};
    static const char digits[] = "0123456789abcdef";
    std::string token;
    for (unsigned char byte : bytes)
        token.append({digits[byte >> 4], digits[byte & 15]});
    return token;
}

bool Guard::knows_token(SoupServerMessage *message, const char *path, GHashTable *query) const
{
    if (same(header(message, "Authorization"), "Bearer " + token_))
        return true;
    // A page cannot set headers for a WebSocket.
    const char *given = query && std::strcmp(path, "/v1/stream") == 0
                            ? static_cast<const char *>(g_hash_table_lookup(query, "token"))
                            : nullptr;
    return given && same(given, token_);
}

std::optional<Refusal> Guard::refusal(SoupServerMessage *message, const char *path, GHashTable *query) const
{
    const std::string host = header(message, "Host");
    const std::string port = ":" + std::to_string(port_);
    if (host != "127.0.0.1" + port && host != "localhost" + port)
        return Refusal{SOUP_STATUS_MISDIRECTED_REQUEST, "wrong Host; this server is 127.0.0.1" + port};
    const std::string origin = header(message, "Origin");
    if (!origin.empty() && origin != "http://" + host)
        return Refusal{SOUP_STATUS_FORBIDDEN, "pages of other origins cannot control the agent"};
    const bool is_page = std::strcmp(path, "/v1") != 0 && !g_str_has_prefix(path, "/v1/");
    if (!is_page && !knows_token(message, path, query))
        return Refusal{SOUP_STATUS_UNAUTHORIZED,
                       "the token is missing or wrong; the agent's control.json holds it: Authorization: Bearer TOKEN"};
    return std::nullopt;
}

} // namespace kv::virtual_agent
