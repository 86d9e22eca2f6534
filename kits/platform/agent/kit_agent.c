/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The kit's agent, for platforms with the agent's side of the ports (rpc_port_stub.h). A platform without it needs a
 * program of its own that serves the commands of commands.h.
 */
#include "commands.h"

#include <glib-unix.h>
#include <glib.h>
#include <rpc_port_stub.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>

static rpc_port_stub_h stub;
static bool refuse_next;

static int on_connecting(const rpc_port_stub_peer_t *peer, void *data)
{
    (void)peer;
    (void)data;
    const bool refuse = refuse_next;
    refuse_next = false;
    return refuse ? -13 : 0;
}

static void send_number(rpc_port_h port, int number)
{
    rpc_port_parcel_h parcel = NULL;
    if (rpc_port_parcel_create(&parcel) != 0)
        return;
    if (rpc_port_parcel_write_int32(parcel, number) == 0)
        rpc_port_parcel_send(parcel, port);
    rpc_port_parcel_destroy(parcel);
}

static void send_events(const char *instance, int count)
{
    rpc_port_h port = NULL;
    if (rpc_port_stub_get_port(stub, instance, RPC_PORT_PORT_CALLBACK, &port) != 0)
        return;
    for (int i = 0; i < count; ++i)
        send_number(port, i);
}

static void on_received(const rpc_port_stub_peer_t *peer, rpc_port_h port, void *data)
{
    (void)data;
    static const uint8_t half[] = {100, 0, 0, 0, 1, 2};
    static const uint8_t too_large[] = {0xff, 0xff, 0xff, 0x7f};
    rpc_port_parcel_h request = NULL;
    int command = 0;
    int argument = 0;
    if (rpc_port_parcel_create_from_port(&request, port) != 0)
        return;
    if (rpc_port_parcel_read_int32(request, &command) != 0 || rpc_port_parcel_read_int32(request, &argument) != 0)
        command = KIT_CLOSE;
    switch (command) {
    case KIT_PING: send_number(port, command); break;
    case KIT_ECHO: rpc_port_parcel_send(request, port); break;
    case KIT_EVENTS:
        send_events(peer->instance, argument);
        send_number(port, command);
        break;
    case KIT_SILENT: break;
    case KIT_EVENTS_CLOSE:
        send_events(peer->instance, argument);
        rpc_port_stub_disconnect(stub, peer->instance);
        break;
    case KIT_HALF:
        rpc_port_stub_send_raw(port, half, sizeof half);
        rpc_port_stub_disconnect(stub, peer->instance);
        break;
    case KIT_REFUSE:
        refuse_next = true;
        send_number(port, command);
        break;
    case KIT_TOO_LARGE: rpc_port_stub_send_raw(port, too_large, sizeof too_large); break;
    default: rpc_port_stub_disconnect(stub, peer->instance); break;
    }
    rpc_port_parcel_destroy(request);
}

/* The kit holds the other end, so that the agent ends with the kit. */
static gboolean on_input_end(gint descriptor, GIOCondition condition, gpointer loop)
{
    (void)descriptor;
    (void)condition;
    g_main_loop_quit(loop);
    return G_SOURCE_REMOVE;
}

int main(int argc, char **argv)
{
    const rpc_port_stub_events_t events = {.connecting = on_connecting, .received = on_received};
    const char *id = argc > 1 ? argv[1] : "org.korvane.platform-kit";
    const char *port_name = argc > 2 ? argv[2] : "kit";
    int result = rpc_port_stub_create(&stub, id, port_name, &events, NULL);
    if (result == 0)
        result = rpc_port_stub_listen(stub);
    if (result != 0) {
        fprintf(stderr, "kit-agent: cannot serve port %s of %s: error %d; is another one running?\n", port_name, id,
                result);
        return 1;
    }
    puts("ready");
    fflush(stdout);
    GMainLoop *loop = g_main_loop_new(NULL, FALSE);
    g_unix_fd_add(0, G_IO_HUP, on_input_end, loop);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    rpc_port_stub_destroy(stub);
    return 0;
}
