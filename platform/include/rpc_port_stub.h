/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_STUB_H
#define KORVANE_PLATFORM_RPC_PORT_STUB_H

/*
 * RPC ports, the agent's side. A stub listens, accepts or refuses peers, reads
 * requests, replies, and sends events on the callback link.
 *
 * A peer is one connected proxy. Its instance, a string, is unique for the life
 * of the stub. All events run on the GLib main context that was the thread's
 * default at rpc_port_stub_listen. A callback may disconnect any peer and may
 * destroy the stub.
 *
 * Parcels are those of rpc_port.h. Sending never blocks: parcels that the peer
 * does not accept at once are queued up to a limit, and a peer that exceeds the
 * limit is disconnected.
 */

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

#include "rpc_port.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A peer's process and user, as the kernel reports them, and the name of its program, as the peer reports it. */
typedef struct {
    const char *instance;
    const char *sender;
    pid_t pid;
    uid_t uid;
} rpc_port_stub_peer_t;

/** Both links of a peer are open. Return 0 to accept it, or a negative code to refuse it (-13 by convention). */
typedef int (*rpc_port_stub_connecting_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** The peer is accepted; its ports are open. */
typedef void (*rpc_port_stub_connected_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** The peer has closed its links or was disconnected. Its ports are invalid after the callback. */
typedef void (*rpc_port_stub_disconnected_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** Raised once for each whole parcel on a peer's main port; read it with rpc_port_parcel_create_from_port. */
typedef void (*rpc_port_stub_received_event_cb)(const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data);

typedef struct {
    rpc_port_stub_connecting_event_cb connecting; /* NULL accepts every peer with admitted credentials */
    rpc_port_stub_connected_event_cb connected;
    rpc_port_stub_disconnected_event_cb disconnected;
    rpc_port_stub_received_event_cb received;
} rpc_port_stub_events_t;

int rpc_port_stub_create(rpc_port_stub_h *stub, const char *appid, const char *port_name,
                         const rpc_port_stub_events_t *events, void *data);
/** Disconnects every peer (raising disconnected), stops listening and removes the socket file. */
int rpc_port_stub_destroy(rpc_port_stub_h stub);
/**
 * Starts to listen and replaces the socket file of a dead agent. -EADDRINUSE if a live agent serves the port; another
 * negative code if the runtime directory or the socket cannot be created. Logs the reason at error level.
 */
int rpc_port_stub_listen(rpc_port_stub_h stub);
/**
 * The directory of the socket, for further files of the agent. The stub owns the text. NULL and -ENOTCONN before the
 * stub listens.
 */
int rpc_port_stub_get_directory(rpc_port_stub_h stub, const char **directory);
/** The peer's port, valid until its disconnected event returns. NULL and -ENOENT for an unknown instance. */
int rpc_port_stub_get_port(rpc_port_stub_h stub, const char *instance, rpc_port_port_type_e type, rpc_port_h *port);
/** Closes both links of a peer at once and discards the parcels in its queue. */
int rpc_port_stub_disconnect(rpc_port_stub_h stub, const char *instance);

/*
 * Between hold and flush the stub collects the parcels for a callback port and sends them in as few writes as possible.
 * For an agent that sends many events in a row.
 */
int rpc_port_stub_hold(rpc_port_h port);
int rpc_port_stub_flush(rpc_port_h port);

/** The parcel's payload. The parcel owns it; it is valid until the next write or the parcel's destruction. */
int rpc_port_parcel_get_raw(rpc_port_parcel_h parcel, const void **bytes, size_t *size);
/** Creates a parcel with a copy of the bytes. The first read begins at its start. */
int rpc_port_parcel_create_from_raw(rpc_port_parcel_h *parcel, const void *bytes, size_t size);
/** Makes the next read begin at the start of the parcel. */
int rpc_port_parcel_rewind(rpc_port_parcel_h parcel);
/** Queues bytes without a frame, for tests and fault injection. */
int rpc_port_stub_send_raw(rpc_port_h port, const void *bytes, size_t size);

#ifdef __cplusplus
}
#endif

#endif
