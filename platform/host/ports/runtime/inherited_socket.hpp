// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/un.h>

#include "platform/host/owned.hpp"

namespace kv::host {

/// The listening socket at an address that the service manager opened before it started this process (LISTEN_FDS). Empty if
/// there is none.
Fd inherited_socket(const sockaddr_un &address);

} // namespace kv::host
