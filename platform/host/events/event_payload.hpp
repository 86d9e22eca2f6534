// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bundle.hpp"
#include "event_bus.hpp"

namespace kv::host {

/// Fills an empty bundle from an event's dictionary and skips values of types that a bundle does not hold. A payload
/// that is malformed or too large gives a negative errno after an error line.
int read_payload(const BusLibrary &library, sd_bus_message *message, const char *event_name, bundle *data);

/// Appends the bundle, which may be NULL, to a message. 0 or a negative errno.
int write_payload(const BusLibrary &library, sd_bus_message *message, const bundle *data);

} // namespace kv::host
