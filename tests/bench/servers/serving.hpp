// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <rpc_port_stub.h>
#include <systemd/sd-bus.h>

// Functions that the servers share.
namespace kv::test {

/// Throws std::system_error with errno unless `holds`.
void require(bool holds, const char *what);
void report_ready();
void run_main_loop();

int listen_at(const std::string &path);
int accept_from(int listening);

/// The server's end of a D-Bus connection without a daemon.
sd_bus *serve_bus_on(int link);
/// Waits for and processes messages once. Returns false if the connection has ended.
bool bus_turn(sd_bus *bus);

/// Serves the agent's port with the stub of the platform alone, without an agent's state and records.
rpc_port_stub_h listen_as_agent(rpc_port_stub_received_event_cb on_parcel);

/// Sends the reply to a request: default values for the out arguments of the method, and the result 0.
void answer_request(rpc_port_h port, int method);

} // namespace kv::test
