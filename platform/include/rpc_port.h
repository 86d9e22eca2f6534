/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_H
#define KORVANE_PLATFORM_RPC_PORT_H

/*
 * RPC ports, the application's side. A proxy connects to a port of an agent
 * over two links: requests and replies use the main link, events the callback
 * link. All of them are parcels.
 *
 * Functions return 0 or a negative errno-style code.
 */

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef void *rpc_port_proxy_h;
typedef void *rpc_port_stub_h;
typedef void *rpc_port_h;
typedef void *rpc_port_parcel_h;

typedef enum {
    RPC_PORT_PORT_MAIN = 0,
    RPC_PORT_PORT_CALLBACK = 1,
} rpc_port_port_type_e;

/** Writes a structured value to a parcel and reads it from one. */
typedef struct {
    void (*to)(rpc_port_parcel_h parcel, void *data);
    void (*from)(rpc_port_parcel_h parcel, void *data);
} rpc_port_parcelable_t;

/*
 * Events of a proxy. All run on the main loop, none inside
 * rpc_port_proxy_connect. A callback may destroy the proxy; endpoint and
 * port_name stay valid until it returns.
 */
typedef void (*rpc_port_proxy_connected_event_cb)(const char *endpoint, const char *port_name, rpc_port_h port,
                                                  void *data);
typedef void (*rpc_port_proxy_disconnected_event_cb)(const char *endpoint, const char *port_name, void *data);
/** The last result is set before: -13 when the agent refused, -5 when the link failed. */
typedef void (*rpc_port_proxy_rejected_event_cb)(const char *endpoint, const char *port_name, void *data);
/** Raised once for each whole parcel on the callback port, never for the main port. */
typedef void (*rpc_port_proxy_received_event_cb)(const char *endpoint, const char *port_name, void *data);

int rpc_port_proxy_create(rpc_port_proxy_h *proxy);
int rpc_port_proxy_destroy(rpc_port_proxy_h proxy);
int rpc_port_proxy_connect(rpc_port_proxy_h proxy, const char *appid, const char *port_name);
int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_connected_event_cb cb, void *data);
int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_disconnected_event_cb cb,
                                             void *data);
int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_rejected_event_cb cb, void *data);
int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_received_event_cb cb, void *data);
int rpc_port_proxy_get_port(rpc_port_proxy_h proxy, rpc_port_port_type_e type, rpc_port_h *port);

int rpc_port_parcel_create(rpc_port_parcel_h *parcel);
/** Blocks until one parcel has arrived; negative when the port is closed or broken. */
int rpc_port_parcel_create_from_port(rpc_port_parcel_h *parcel, rpc_port_h port);
/** After a failed send the next read on that port returns what has already arrived, or fails at once. */
int rpc_port_parcel_send(rpc_port_parcel_h parcel, rpc_port_h port);
int rpc_port_parcel_destroy(rpc_port_parcel_h parcel);

int rpc_port_parcel_write_int32(rpc_port_parcel_h parcel, int value);
int rpc_port_parcel_write_bool(rpc_port_parcel_h parcel, bool value);
int rpc_port_parcel_write_string(rpc_port_parcel_h parcel, const char *value);
int rpc_port_parcel_write_array_count(rpc_port_parcel_h parcel, int count);
/** Calls parcelable->to(parcel, data). */
int rpc_port_parcel_write(rpc_port_parcel_h parcel, rpc_port_parcelable_t *parcelable, void *data);

/* Past the end of the parcel the result is negative and the out argument keeps its value. */
int rpc_port_parcel_read_int32(rpc_port_parcel_h parcel, int *value);
int rpc_port_parcel_read_bool(rpc_port_parcel_h parcel, bool *value);
/** The caller releases the string with free(). */
int rpc_port_parcel_read_string(rpc_port_parcel_h parcel, char **value);
/** Fails for a negative count and for one that the rest of the parcel cannot hold. */
int rpc_port_parcel_read_array_count(rpc_port_parcel_h parcel, int *count);
/** Calls parcelable->from(parcel, data). */
int rpc_port_parcel_read(rpc_port_parcel_h parcel, rpc_port_parcelable_t *parcelable, void *data);

#ifdef __cplusplus
}
#endif

#endif
