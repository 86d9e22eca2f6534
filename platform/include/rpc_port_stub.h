/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_STUB_H
#define KORVANE_PLATFORM_RPC_PORT_STUB_H

/*
 * RPC ports, the serving side: what an agent listens with, accepts or refuses
 * peers, reads requests, answers them, and pushes on the callback link.
 *
 * A peer is one connected proxy. It is named by an instance string that is
 * unique for the life of the stub. All events run on the GLib main context
 * that was the thread's default at rpc_port_stub_listen. A callback may
 * disconnect any peer and may destroy the stub.
 *
 * Parcels are those of rpc_port.h. Nothing that is sent from this side blocks:
 * what the peer does not take at once is queued up to a bound, and a peer that
 * lets the bound fill is disconnected.
 */

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

#include "rpc_port.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Who a peer is, as the kernel says; sender is the name that the peer gave itself (its program's name). */
typedef struct {
    const char *instance;
    const char *sender;
    pid_t pid;
    uid_t uid;
} rpc_port_stub_peer_t;

/** Both links of a peer are there: 0 accepts it, a negative code refuses it with that code (-13 by custom). */
typedef int (*rpc_port_stub_connecting_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** The peer is accepted; its ports are open. */
typedef void (*rpc_port_stub_connected_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** The peer is gone or was disconnected. Its ports are no longer valid after the callback. */
typedef void (*rpc_port_stub_disconnected_event_cb)(const rpc_port_stub_peer_t *peer, void *data);
/** Raised once per whole parcel that waits on a peer's main port; read it with rpc_port_parcel_create_from_port. */
typedef void (*rpc_port_stub_received_event_cb)(const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data);

typedef struct {
    rpc_port_stub_connecting_event_cb connecting; /* NULL accepts everyone whom the credentials admit */
    rpc_port_stub_connected_event_cb connected;
    rpc_port_stub_disconnected_event_cb disconnected;
    rpc_port_stub_received_event_cb received;
} rpc_port_stub_events_t;

int rpc_port_stub_create(rpc_port_stub_h *stub, const char *appid, const char *port_name,
                         const rpc_port_stub_events_t *events, void *data);
/** Disconnects every peer (raising disconnected), stops listening and removes the socket file. */
int rpc_port_stub_destroy(rpc_port_stub_h stub);
/**
 * Starts to listen. -EADDRINUSE when another live agent already serves the port (a stale socket file of a dead
 * one is replaced); other negative codes when the runtime directory or the socket cannot be made. The reason is
 * logged at error level.
 */
int rpc_port_stub_listen(rpc_port_stub_h stub);
/**
 * The directory of the socket, for what an agent keeps beside it; the stub's. NULL and -ENOTCONN before the stub
 * listens.
 */
int rpc_port_stub_get_directory(rpc_port_stub_h stub, const char **directory);
/** The peer's port; NULL and -ENOENT when there is no such peer. Valid until its disconnected event returns. */
int rpc_port_stub_get_port(rpc_port_stub_h stub, const char *instance, rpc_port_port_type_e type, rpc_port_h *port);
/** Closes both links of a peer at once; what was queued and not yet taken is lost. */
int rpc_port_stub_disconnect(rpc_port_stub_h stub, const char *instance);

/*
 * Between the calls, parcels sent on a callback port are held back and leave in as few writes as possible.
 * For an agent that pushes many events in a row.
 */
int rpc_port_stub_hold(rpc_port_h port);
int rpc_port_stub_flush(rpc_port_h port);

/** The parcel's payload as it stands; the parcel's, valid until it is written to or destroyed. */
int rpc_port_parcel_get_raw(rpc_port_parcel_h parcel, const void **bytes, size_t *size);
/** A parcel that holds a copy of the bytes, to be read from its start. */
int rpc_port_parcel_create_from_raw(rpc_port_parcel_h *parcel, const void *bytes, size_t size);
/** Starts reading again from the parcel's first byte. */
int rpc_port_parcel_rewind(rpc_port_parcel_h parcel);
/** Queues bytes on the link as they stand, without a frame around them: for tests and fault injection. */
int rpc_port_stub_send_raw(rpc_port_h port, const void *bytes, size_t size);

#ifdef __cplusplus
}
#endif

#endif
