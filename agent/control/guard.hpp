// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsoup/soup.h>

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// Why a request is not answered as it wishes.
struct Refusal {
    unsigned status;
    std::string why;
};

/// Whoever can open a port of this machine may be a web page of anybody's, so a port is guarded: by the name that it is
/// called by, against pages of other origins, and by a token, without which nothing is done.
class Guard {
public:
    Guard(int port, std::string token);

    /// None for a request that may go on.
    std::optional<Refusal> refusal(SoupServerMessage *message, const char *path, GHashTable *query) const;

    int port() const { return port_; }
    const std::string &token() const { return token_; }

    /// Something that nobody can guess.
    static std::string new_token();

private:
    bool knows_token(SoupServerMessage *message, const char *path, GHashTable *query) const;

    int port_;
    std::string token_;
};

} // namespace kv::virtual_agent
