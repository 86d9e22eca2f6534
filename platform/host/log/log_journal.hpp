// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log_sink.hpp"

namespace kv::host {

const char *journal_socket_path();
/// One entry in the journal's own datagram form: 0 or a negative errno. Takes messages of any size.
int journal_send(int socket, const char *path, const LogLine &line);

} // namespace kv::host
