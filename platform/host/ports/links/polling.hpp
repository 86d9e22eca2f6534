// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include "port.hpp"

/// Polling before blocking. A process that blocks lets its processor sleep, and waking a sleeping processor takes longer than
/// a call to the agent, most of all in a virtual machine. A process that polls is awake when its peer has replied.
namespace kv::host {

/// Receives into the parcel as a blocking recv does, but polls before it blocks.
ssize_t receive_polling(const Port *port, Parcel *parcel);

/// Makes the loop of a context poll for this time before it blocks. Does nothing for 0, or if the program waits in a function of
/// its own.
void poll_in_context(GMainContext *context, int polling_us);

} // namespace kv::host
