/* SPDX-License-Identifier: Apache-2.0 */
#include "application.h"

#include <glib-unix.h>

#include <stdarg.h>
#include <stdio.h>

enum { FIRST_DELAY_MS = 100, LONGEST_DELAY_MS = 2000 };

static struct {
    const struct application *application;
    GMainLoop *loop;
    korvane_h handle;
    bool connected;
    bool was_connected;
    bool waiting_for_update;
    bool call_failed;
    guint retry;
    guint delay_ms;
    enum exit_status outcome;
} life;

/* ---- lines ------------------------------------------------------------------------------------------------------- */

static void append_printable(GString *line, const char *text)
{
    while (*text != '\0') {
        gunichar character = g_utf8_get_char_validated(text, -1);
        bool valid = character != (gunichar)-1 && character != (gunichar)-2;
        if (valid && g_unichar_isprint(character)) {
            g_string_append_unichar(line, character);
            text = g_utf8_next_char(text);
        } else {
            g_string_append_printf(line, "\\x%02x", (unsigned char)*text++);
        }
    }
}

void print(const char *what, const char *how, ...)
{
    va_list values;
    va_start(values, how);
    char *text = g_strdup_vprintf(how, values);
    va_end(values);
    GDateTime *now = g_date_time_new_now_local();
    char *time = g_date_time_format(now, "%H:%M:%S.%f");

    GString *line = g_string_new(NULL);
    g_string_append_printf(line, "%s  %s: ", time, what);
    append_printable(line, text);
    puts(line->str);
    fflush(stdout);

    g_string_free(line, TRUE);
    g_free(time);
    g_date_time_unref(now);
    g_free(text);
}

const char *name_of(int result)
{
    switch (result) {
    case KORVANE_ERROR_NONE: return "NONE";
    case KORVANE_ERROR_INVALID_PARAMETER: return "INVALID_PARAMETER";
    case KORVANE_ERROR_OUT_OF_MEMORY: return "OUT_OF_MEMORY";
    case KORVANE_ERROR_PERMISSION_DENIED: return "PERMISSION_DENIED";
    case KORVANE_ERROR_IO_ERROR: return "IO_ERROR";
    case KORVANE_ERROR_NO_DATA: return "NO_DATA";
    case KORVANE_ERROR_NOT_SUPPORTED: return "NOT_SUPPORTED";
    case KORVANE_ERROR_OPERATION_FAILED: return "OPERATION_FAILED";
    case KORVANE_ERROR_SERVICE_UNAVAILABLE: return "SERVICE_UNAVAILABLE";
    case KORVANE_ERROR_AGENT_VERSION_LOWER: return "AGENT_VERSION_LOWER";
    default: return "(another code)";
    }
}

bool step(const char *what, int result)
{
    bool too_old = result == KORVANE_ERROR_AGENT_VERSION_LOWER;
    print(what, "%s%s", name_of(result), too_old ? ", this agent is too old for it" : "");
    return result == KORVANE_ERROR_NONE;
}

bool make_calls(korvane_h device, const struct call *calls, void *user_data)
{
    for (; calls->name; ++calls) {
        int result = calls->make(device, user_data);
        if (step(calls->name, result) || result == KORVANE_ERROR_AGENT_VERSION_LOWER)
            continue;
        if (result == KORVANE_ERROR_IO_ERROR || result == KORVANE_ERROR_SERVICE_UNAVAILABLE)
            return false; /* on_io_error() or on_connection() follows */
        life.call_failed = true;
    }
    return true;
}

bool start_service(korvane_h device)
{
    int result = korvane_start(device);
    step("start", result);
    /* After a broken link or the begin of an update, a callback follows: the start itself did not fail. */
    if (result != KORVANE_ERROR_NONE && result != KORVANE_ERROR_IO_ERROR && result != KORVANE_ERROR_SERVICE_UNAVAILABLE)
        end_application(STEP_FAILED);
    return result == KORVANE_ERROR_NONE;
}

/* ---- the life of the connection ---------------------------------------------------------------------------------- */

korvane_h connected_device(void)
{
    return life.connected ? life.handle : NULL;
}

void end_application(enum exit_status status)
{
    life.outcome = status;
    g_main_loop_quit(life.loop);
}

static gboolean connect_again(gpointer unused);

static void try_again_later(void)
{
    if (life.retry != 0)
        return;
    life.retry = g_timeout_add(life.delay_ms, connect_again, NULL);
    life.delay_ms = MIN(2 * life.delay_ms, (guint)LONGEST_DELAY_MS);
}

static void drop_link(void)
{
    if (life.connected && life.application->lost)
        life.application->lost(life.application->user_data);
    life.connected = false;
}

static void on_link_lost(void)
{
    drop_link();
    if (life.application->stay)
        try_again_later();
    else
        end_application(LINK_BROKEN);
}

/* The agent refused the link, cannot be reached, or has a pending update. A retry helps unless it refused. */
static void on_rejected(int result)
{
    bool will_come = result == KORVANE_ERROR_SERVICE_UNAVAILABLE || life.was_connected;
    if (life.application->stay && will_come && result != KORVANE_ERROR_PERMISSION_DENIED)
        try_again_later();
    else
        end_application(NOT_REACHED);
}

static void on_connection(int result, korvane_h handle, int status, void *user_data)
{
    (void)user_data;
    switch (status) {
    case KORVANE_CONNECTION_CONNECTED:
        step("connected", result);
        life.connected = life.was_connected = true;
        life.waiting_for_update = false;
        life.delay_ms = FIRST_DELAY_MS;
        life.application->ready(handle, life.application->user_data);
        break;
    case KORVANE_CONNECTION_DISCONNECTED:
        step("disconnected", result);
        on_link_lost();
        break;
    default:
        step("rejected", result);
        on_rejected(result);
        break;
    }
}

static void on_io_error(korvane_h handle, void *user_data)
{
    (void)handle;
    (void)user_data;
    print("io error", "the link to the agent broke during a call");
    on_link_lost();
}

static bool initialize(void)
{
    if (!step("initialize", korvane_initialize(&life.handle, on_connection, NULL)))
        return false;
    return step("set_rpc_io_error_cb", korvane_set_rpc_io_error_cb(life.handle, on_io_error, NULL));
}

/* Replaces the handle by a new one, which finds the new agent. While the agent is being replaced, every call with the old
 * handle returns SERVICE_UNAVAILABLE; the old handle is kept until then. */
static gboolean connect_again(gpointer unused)
{
    (void)unused;
    life.retry = 0;
    if (life.handle) {
        bool set_up = false;
        if (korvane_get_easysetup_status(life.handle, &set_up) == KORVANE_ERROR_SERVICE_UNAVAILABLE) {
            if (!life.waiting_for_update)
                print("agent", "is being replaced, waiting");
            life.waiting_for_update = true;
            try_again_later();
            return G_SOURCE_REMOVE;
        }
        step("deinitialize", korvane_deinitialize(life.handle));
        life.handle = NULL;
    }
    if (!initialize())
        try_again_later();
    return G_SOURCE_REMOVE;
}

static gboolean on_terminate(gpointer unused)
{
    (void)unused;
    if (!life.connected)
        end_application(LINK_BROKEN);
    else
        end_application(step("stop", korvane_stop(life.handle)) ? DONE : STEP_FAILED);
    return G_SOURCE_CONTINUE;
}

int run_application(const struct application *application)
{
    life.application = application;
    life.delay_ms = FIRST_DELAY_MS;
    life.loop = g_main_loop_new(NULL, FALSE);
    guint signals[] = {g_unix_signal_add(SIGTERM, on_terminate, NULL), g_unix_signal_add(SIGINT, on_terminate, NULL)};
    if (initialize())
        g_main_loop_run(life.loop);
    else
        life.outcome = NOT_REACHED;

    drop_link();
    if (life.handle)
        step("deinitialize", korvane_deinitialize(life.handle));
    life.handle = NULL;
    if (life.retry != 0)
        g_source_remove(life.retry);
    for (size_t i = 0; i < G_N_ELEMENTS(signals); ++i)
        g_source_remove(signals[i]);
    g_main_loop_unref(life.loop);
    return (int)(life.outcome == DONE && life.call_failed ? STEP_FAILED : life.outcome);
}

/* ---- the command line -------------------------------------------------------------------------------------------- */

void wrong_command_line(const char *problem, ...)
{
    va_list values;
    va_start(values, problem);
    char *text = g_strdup_vprintf(problem, values);
    va_end(values);
    fprintf(stderr, "%s: %s\nTry '%s --help'.\n", g_get_prgname(), text, g_get_prgname());
    g_free(text);
}

bool parse_command_line(int *argc, char ***argv, const GOptionEntry *options, const char *summary)
{
    GOptionContext *context = g_option_context_new(NULL);
    g_option_context_set_summary(context, summary);
    g_option_context_set_description(context,
                                     "Exit status: 0 done, 1 a step failed, 2 the command line is wrong or the "
                                     "agent could not be reached or refused,\n3 the link broke.");
    g_option_context_add_main_entries(context, options, NULL);
    GError *error = NULL;
    bool good = g_option_context_parse(context, argc, argv, &error);
    if (!good)
        wrong_command_line("%s", error->message);
    else if (*argc > 1)
        wrong_command_line("'%s' is no option", (*argv)[1]);
    g_clear_error(&error);
    g_option_context_free(context);
    return good && *argc == 1;
}
