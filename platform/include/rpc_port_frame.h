/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_PLATFORM_RPC_PORT_FRAME_H
#define KORVANE_PLATFORM_RPC_PORT_FRAME_H

/*
 * What a tool must know to find the parcels among the bytes of a link of the
 * host platform. A frame is the length of its payload and the payload. All
 * numbers are little-endian. The first frame from the proxy is the handshake
 * request; the first frame from the agent, on the main link, is the reply.
 */

/** Bytes of the length. */
#define RPC_PORT_FRAME_HEADER 4U
/** The max length of a payload. A link with a longer one is closed. */
#define RPC_PORT_MAX_PAYLOAD (16U << 20)

/** The first four bytes of the payload of a handshake request, "VKPL", and of a reply, "VKPR". */
#define RPC_PORT_HANDSHAKE_REQUEST 0x4c504b56U
#define RPC_PORT_HANDSHAKE_REPLY 0x52504b56U
/** The offset of a byte in the payload of a request: 0 on the main link, 1 on the callback link. */
#define RPC_PORT_HANDSHAKE_LINK 8U
/** The offset of the token, which is the same on both links of a connection. */
#define RPC_PORT_HANDSHAKE_TOKEN 9U
#define RPC_PORT_HANDSHAKE_TOKEN_SIZE 16U
/** The offset of an int32 in the payload of a reply: 0 if the agent accepts the connection. */
#define RPC_PORT_HANDSHAKE_CODE 8U

#endif
