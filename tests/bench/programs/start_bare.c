/* SPDX-License-Identifier: Apache-2.0 */
/* start_bare SOCKET: a minimal client on a GLib loop, which connects, sends one request and reports. */
#define _GNU_SOURCE
#include "start_report.h"

#include <glib.h>
#include <sys/socket.h>
#include <sys/un.h>

static gboolean exchange(gpointer path)
{
    const unsigned char request[8] = {4, 0, 0, 0, 28};
    unsigned char reply[52];
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    g_strlcpy(address.sun_path, path, sizeof address.sun_path);

    int link = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(link, (struct sockaddr *)&address, sizeof address) != 0 ||
        send(link, request, sizeof request, MSG_NOSIGNAL) != sizeof request ||
        recv(link, reply, sizeof reply, 0) != sizeof reply)
        exit(1);
    report_first_reply();
    exit(0);
}

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    g_idle_add(exchange, argv[1]);
    g_main_loop_run(g_main_loop_new(NULL, FALSE));
    return 1;
}
