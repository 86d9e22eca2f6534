/* SPDX-License-Identifier: Apache-2.0 */
/* A first device: connects to the agent, starts the device service and stops it again. See README.md. */

#include <korvane.h>
#include <korvane_results.h>

#include <glib-unix.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum exit_status { DONE = 0, STEP_FAILED = 1, NOT_REACHED = 2, LINK_BROKEN = 3 };

enum { TRY_AGAIN_MS = 100 };

static GMainLoop *loop;
static korvane_h device;
static bool stay;
static enum exit_status outcome;

static const char *name_of(int result)
{
    switch (result) {
#define NAME_CASE(name, cause, remedy)                                                                                 \
    case KORVANE_ERROR_##name: return #name;
        KORVANE_RESULTS(NAME_CASE)
    default: return "(another code)";
    }
}

/* Prints a line with the time. */
static void print(const char *what, const char *how)
{
    GDateTime *now = g_date_time_new_now_local();
    char *time = g_date_time_format(now, "%H:%M:%S.%f");
    printf("%s  %s: %s\n", time, what, how);
    fflush(stdout);
    g_free(time);
    g_date_time_unref(now);
}

/* Prints a step with its result. Returns true for KORVANE_ERROR_NONE. */
static bool step(const char *what, int result)
{
    print(what, name_of(result));
    return result == KORVANE_ERROR_NONE;
}

static void end(enum exit_status status)
{
    outcome = status;
    g_main_loop_quit(loop);
}

/* Starts the service; called when the link is up. */
static void run_service(void)
{
    int result = korvane_start(device);
    step("start", result);
    if (result == KORVANE_ERROR_IO_ERROR)
        return; /* on_io_error() follows */
    if (result != KORVANE_ERROR_NONE) {
        end(STEP_FAILED);
        return;
    }
    char *id = NULL;
    if (step("get_device_id", korvane_get_device_id(device, &id)))
        print("device id", id);
    free(id);
    if (!stay)
        end(step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
}

static gboolean connect_again(gpointer unused);

static void on_connection(int result, korvane_h handle, int status, void *user_data)
{
    (void)handle;
    (void)user_data;
    switch (status) {
    case KORVANE_CONNECTION_CONNECTED:
        step("connected", result);
        run_service();
        break;
    case KORVANE_CONNECTION_DISCONNECTED:
        step("disconnected", result);
        if (stay)
            g_timeout_add(TRY_AGAIN_MS, connect_again, NULL);
        else
            end(LINK_BROKEN);
        break;
    default: /* the agent refused the link or has a pending update */
        step("rejected", result);
        end(NOT_REACHED);
        break;
    }
}

static void on_io_error(korvane_h handle, void *user_data)
{
    (void)handle;
    (void)user_data;
    print("io error", "the link to the agent broke during a call");
    if (!stay)
        end(LINK_BROKEN);
}

static bool initialize(void)
{
    int result = korvane_initialize(&device, on_connection, NULL);
    if (!step("initialize", result))
        return false;
    return step("set_rpc_io_error_cb", korvane_set_rpc_io_error_cb(device, on_io_error, NULL));
}

/* Replaces the handle by a new one, which finds the new agent. While the agent is being replaced, every call returns
 * SERVICE_UNAVAILABLE; the old handle is kept until then. */
static gboolean connect_again(gpointer unused)
{
    (void)unused;
    if (device) {
        int result = korvane_start(device);
        step("start", result);
        if (result == KORVANE_ERROR_SERVICE_UNAVAILABLE)
            return G_SOURCE_CONTINUE;
        step("deinitialize", korvane_deinitialize(device));
        device = NULL;
    }
    return initialize() ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
}

static gboolean on_terminate(gpointer unused)
{
    (void)unused;
    end(device && step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
    return G_SOURCE_CONTINUE;
}

int main(int argc, char **argv)
{
    stay = argc > 1 && strcmp(argv[1], "--stay") == 0;
    loop = g_main_loop_new(NULL, FALSE);
    g_unix_signal_add(SIGTERM, on_terminate, NULL);
    g_unix_signal_add(SIGINT, on_terminate, NULL);
    if (initialize())
        g_main_loop_run(loop);
    else
        outcome = NOT_REACHED;
    if (device)
        step("deinitialize", korvane_deinitialize(device));
    g_main_loop_unref(loop);
    return (int)outcome;
}
