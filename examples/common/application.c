/* SPDX-License-Identifier: Apache-2.0 */
#include "application.h"

#include <korvane_util.h>

#include <glib-unix.h>

#include <stdarg.h>
#include <stdio.h>

static struct {
    const struct application *application;
    GMainLoop *loop;
    korvane_util_connection_h connection;
    bool has_link;      /* from the begin of configure() until the connection is lost */
    bool was_connected; /* at any time */
    bool call_failed;
    bool has_ended; /* what follows does not change the outcome */
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
    const struct korvane_util_result *known = korvane_util_explain(result);
    return known ? known->name : "(another code)";
}

bool step(const char *what, int result)
{
    bool too_old = result == KORVANE_ERROR_AGENT_VERSION_LOWER;
    print(what, "%s%s", name_of(result), too_old ? ", this agent is too old for it" : "");
    return result == KORVANE_ERROR_NONE;
}

/* After such a result the supervised connection connects again. */
static bool ends_the_link(int result)
{
    return result == KORVANE_ERROR_IO_ERROR || result == KORVANE_ERROR_SERVICE_UNAVAILABLE;
}

int make_calls(korvane_h device, const struct call *calls, void *user_data)
{
    for (; calls->name; ++calls) {
        int result = calls->make(device, user_data);
        if (step(calls->name, result) || result == KORVANE_ERROR_AGENT_VERSION_LOWER)
            continue;
        if (ends_the_link(result))
            return result;
        life.call_failed = true;
    }
    return KORVANE_ERROR_NONE;
}

int start_service(korvane_h device)
{
    int result = korvane_start(device);
    step("start", result);
    if (result != KORVANE_ERROR_NONE && !ends_the_link(result))
        end_application(STEP_FAILED);
    return result;
}

/* ---- the life of the connection ---------------------------------------------------------------------------------- */

korvane_h connected_device(void)
{
    return korvane_util_get_handle(life.connection);
}

void end_application(enum exit_status status)
{
    if (!life.has_ended)
        life.outcome = status;
    life.has_ended = true;
    g_main_loop_quit(life.loop);
}

static void drop_link(void)
{
    if (life.has_link && life.application->lost)
        life.application->lost(life.application->user_data);
    life.has_link = false;
}

static int on_configure(korvane_h device, void *user_data)
{
    (void)user_data;
    life.has_link = life.was_connected = true;
    return life.application->configure(device, life.application->user_data);
}

/* Whether another attempt may succeed. An agent that is not there at the begin will not come by itself. */
static bool is_worth_waiting(enum korvane_util_state state)
{
    return life.application->stay && state != KORVANE_UTIL_REFUSED &&
           (life.was_connected || state == KORVANE_UTIL_UPDATING);
}

static void on_state(enum korvane_util_state state, int result, korvane_h device, void *user_data)
{
    (void)user_data;
    print("connection", "%s, %s", korvane_util_get_state_name((int)state), name_of(result));
    if (state == KORVANE_UTIL_CONNECTED) {
        if (life.application->connected)
            life.application->connected(device, life.application->user_data);
        return;
    }
    drop_link();
    if (!is_worth_waiting(state))
        end_application(life.was_connected && state != KORVANE_UTIL_REFUSED ? LINK_BROKEN : NOT_REACHED);
}

static gboolean on_terminate(gpointer unused)
{
    (void)unused;
    korvane_h device = connected_device();
    if (!device)
        end_application(LINK_BROKEN);
    else
        end_application(step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
    return G_SOURCE_CONTINUE;
}

int run_application(const struct application *application)
{
    life.application = application;
    life.loop = g_main_loop_new(NULL, FALSE);
    guint signals[] = {g_unix_signal_add(SIGTERM, on_terminate, NULL), g_unix_signal_add(SIGINT, on_terminate, NULL)};
    if (step("connect", korvane_util_connect(on_configure, on_state, NULL, &life.connection)))
        g_main_loop_run(life.loop);
    else
        life.outcome = NOT_REACHED;

    drop_link();
    korvane_util_disconnect(life.connection);
    life.connection = NULL;
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
