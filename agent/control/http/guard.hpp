// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsoup/soup.h>

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// Why a request is refused.
struct Refusal {
    unsigned status;
    std::string why;
};

/// Guards a TCP port, which every program and every web page on this machine can reach: requests need the right host
/// name, no foreign origin, and, for everything but the files of the console, the token.
class Guard {
public:
    Guard(int port, std::string token);

    /// Nothing for a request that is allowed.
    std::optional<Refusal> refusal(SoupServerMessage *message, const char *path, GHashTable *query) const;

    /// Whether the request has the token.
    bool knows_token(SoupServerMessage *message, const char *path, GHashTable *query) const;

    int port() const { return port_; }
    const std::string &token() const { return token_; }

    /// A random token of 256 bits.
    static std::string new_token();

private:
    int port_;
    std::string token_;
};

} // namespace kv::virtual_agent
