// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <rpc_port_stub.h>
#include <systemd/sd-bus.h>

/// What the servers have in common. A server has no purpose without the one who measures, and dies with it.
namespace bench {

/// Throws with errno's text.
void require(bool holds, const char *what);
void say_ready();
void run_main_loop();
void die_with_parent();

int listen_at(const std::string &path);
int accept_from(int listening);

/// The serving end of a bus link without a daemon.
sd_bus *serve_bus_on(int link);
/// Waits and processes once; false when the link has ended.
bool bus_turn(sd_bus *bus);

/// The agent's port, served by the platform's serving side alone, without an agent's state and records.
rpc_port_stub_h listen_as_agent(rpc_port_stub_received_event_cb on_parcel);

/// The answer to the request: no values but those that the method has, and a result of 0.
void answer_request(rpc_port_h port, int method);

} // namespace bench
