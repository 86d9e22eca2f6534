/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_TRACE_H
#define KORVANE_PLATFORM_RPC_PORT_TRACE_H

/*
 * The trace that the host platform writes for KORVANE_TRACE. The variable names
 * a file, to which the trace is appended, or "fd:N", a descriptor of a file or
 * of a stream socket. The trace has this header, in the machine's byte order,
 * and the payload of each parcel that a port sends or receives. It contains
 * secrets.
 *
 * The variable is removed from the environment, so that programs which this one
 * starts write no trace.
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
    int64_t time_us; /* since 1970; before the send or after the receive */
    uint32_t size;   /* of the payload that follows */
    uint32_t port;   /* identifies the port within the process */
    uint32_t link;   /* rpc_port_trace_link_e */
    uint32_t sent;   /* 1, or 0 for received */
} rpc_port_trace_record_t;

#ifdef __cplusplus
}
#endif

#endif
