// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "guard.hpp"

/// Requests whose body is not read, and what is needed to answer them without libsoup, which reads the body first.
namespace kv::virtual_agent {

/// Why the body of a request cannot be read; nothing if it can.
std::optional<Refusal> bad_body(SoupMessageHeaders *headers, std::size_t max_size);
bool expects_body(SoupMessageHeaders *headers);

/// The whole reply, as bytes.
std::string written(SoupServerMessage *message);

/// The reason phrase of a status, those that libsoup lacks included.
const char *phrase_of(unsigned status);

} // namespace kv::virtual_agent
