/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_TRACE_H
#define KORVANE_PLATFORM_RPC_PORT_TRACE_H

/*
 * What the host platform writes where KORVANE_TRACE says: a file that it
 * appends to, or "fd:N", a descriptor of a file or of a stream socket. For each
 * parcel that a port sends or has received there is this header, in the
 * machine's byte order, and the parcel's payload. It holds what the parcels
 * hold, secrets included.
 *
 * The variable is taken out of the environment: programs that this one starts
 * are not traced with it.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define RPC_PORT_TRACE_MAGIC 0x3154564bU /* "KVT1" */

typedef enum {
    RPC_PORT_TRACE_CALLER_MAIN = 0,
    RPC_PORT_TRACE_CALLER_CALLBACK = 1,
    RPC_PORT_TRACE_SERVER_MAIN = 2,
    RPC_PORT_TRACE_SERVER_CALLBACK = 3,
} rpc_port_trace_link_e;

typedef struct {
    uint32_t magic;
    uint32_t process;
    int64_t time_us; /* since 1970; before it was sent, or after it was received */
    uint32_t size;   /* of the payload that follows */
    uint32_t port;   /* tells the ports of one process apart */
    uint32_t link;   /* rpc_port_trace_link_e */
    uint32_t sent;   /* 1, or 0 for received */
} rpc_port_trace_record_t;

#ifdef __cplusplus
}
#endif

#endif
