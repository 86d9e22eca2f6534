// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "log_sink.hpp"

namespace kv::host {

const char *journal_socket_path();
/// Sends one entry of any size in the journal's datagram format. 0 or a negative errno.
int journal_send(int socket, const char *path, const LogLine &line);

} // namespace kv::host
