/* SPDX-License-Identifier: Apache-2.0 */
#include <korvane_util.h>

#include <glib.h>

#include <stddef.h>
#include <stdlib.h>

enum { FIRST_DELAY_MS = 100, LONGEST_DELAY_MS = 2000 };

/* A session of korvane.h can be ended only while an agent is installed. The connection of a session that could not be ended
 * is kept, because the session still refers to it; the next connection ends the session first. */
struct korvane_util_connection_s {
    korvane_util_configure_cb configure;
    korvane_util_state_cb changed;
    void *user_data;
    korvane_h handle; /* NULL without a session */
    enum korvane_util_state state;
    int result; /* of the state */
    GMainContext *context;
    GSource *timer; /* the next attempt; NULL if none waits */
    guint delay_ms;
    unsigned users; /* calls that use the connection, and the application until it disconnects */
    bool has_ended; /* the application has disconnected */
};

static korvane_util_connection_h current; /* of the application */
static korvane_util_connection_h unended; /* disconnected, but its session could not be ended */

static const char *const state_names[] = {
    [KORVANE_UTIL_CONNECTING] = "connecting",         [KORVANE_UTIL_CONNECTED] = "connected",
    [KORVANE_UTIL_NOT_INSTALLED] = "not installed",   [KORVANE_UTIL_UPDATING] = "updating",
    [KORVANE_UTIL_UNREACHABLE] = "unreachable",       [KORVANE_UTIL_LOST] = "lost",
    [KORVANE_UTIL_NOT_CONFIGURED] = "not configured", [KORVANE_UTIL_REFUSED] = "refused",
};

const char *korvane_util_get_state_name(int state)
{
    return (unsigned)state < G_N_ELEMENTS(state_names) ? state_names[state] : "unknown";
}

/* ---- lifetime ---------------------------------------------------------------------------------------------------- */

static void release(korvane_util_connection_h connection)
{
    if (--connection->users > 0 || connection == unended)
        return;
    g_main_context_unref(connection->context);
    free(connection);
}

static void cancel_attempt(korvane_util_connection_h connection)
{
    if (!connection->timer)
        return;
    g_source_destroy(connection->timer);
    g_source_unref(connection->timer);
    connection->timer = NULL;
}

/* The library looks for an installed agent in korvane_initialize only, which does nothing else while a session exists. */
static void look_for_agent_again(void)
{
    korvane_h other = NULL;
    if (korvane_initialize(&other, NULL, NULL) == KORVANE_ERROR_NONE)
        korvane_deinitialize(other);
}

/* Returns KORVANE_ERROR_NONE if there is no session any more. Without an agent the library does not end a session. */
static int end_session(korvane_util_connection_h connection)
{
    if (!connection->handle)
        return KORVANE_ERROR_NONE;
    int result = korvane_deinitialize(connection->handle);
    if (result == KORVANE_ERROR_NOT_SUPPORTED) {
        look_for_agent_again();
        result = korvane_deinitialize(connection->handle);
    }
    if (result == KORVANE_ERROR_INVALID_PARAMETER)
        result = KORVANE_ERROR_NONE; /* the application has ended it */
    if (result == KORVANE_ERROR_NONE)
        connection->handle = NULL;
    return result;
}

static int end_former_session(void)
{
    if (!unended)
        return KORVANE_ERROR_NONE;
    int result = end_session(unended);
    if (result == KORVANE_ERROR_NONE) {
        korvane_util_connection_h former = unended;
        unended = NULL;
        ++former->users;
        release(former);
    }
    return result;
}

/* ---- states ------------------------------------------------------------------------------------------------------ */

static gboolean attempt(gpointer data);

static void set_timer(korvane_util_connection_h connection, guint delay_ms)
{
    cancel_attempt(connection);
    connection->timer = g_timeout_source_new(delay_ms);
    g_source_set_callback(connection->timer, attempt, connection, NULL);
    g_source_attach(connection->timer, connection->context);
}

/* The application receives each state once, not at each attempt. */
static void enter(korvane_util_connection_h connection, enum korvane_util_state state, int result)
{
    if (connection->state == state && connection->result == result)
        return;
    connection->state = state;
    connection->result = result;
    if (connection->changed)
        connection->changed(state, result, korvane_util_get_handle(connection), connection->user_data);
}

/* The attempt or the connection has failed. The timer is set first, because the application may change it. */
static void fail(korvane_util_connection_h connection, enum korvane_util_state state, int result)
{
    if (state == KORVANE_UTIL_REFUSED) {
        cancel_attempt(connection);
    } else {
        set_timer(connection, connection->delay_ms);
        connection->delay_ms = MIN(2 * connection->delay_ms, (guint)LONGEST_DELAY_MS);
    }
    enter(connection, state, result);
}

/* Why the library cannot connect or has lost the connection. */
static enum korvane_util_state state_of(int result, enum korvane_util_state otherwise)
{
    switch (result) {
    case KORVANE_ERROR_NOT_SUPPORTED: return KORVANE_UTIL_NOT_INSTALLED;
    case KORVANE_ERROR_PERMISSION_DENIED: return KORVANE_UTIL_REFUSED;
    case KORVANE_ERROR_SERVICE_UNAVAILABLE: return KORVANE_UTIL_UPDATING;
    default: return otherwise;
    }
}

/* An event of a connection that was already given up is none. */
static bool is_over(korvane_util_connection_h connection)
{
    return connection->has_ended || connection->timer || connection->state == KORVANE_UTIL_REFUSED;
}

static void configure(korvane_util_connection_h connection)
{
    int result = connection->configure(connection->handle, connection->user_data);
    if (is_over(connection))
        return;
    if (result != KORVANE_ERROR_NONE) {
        fail(connection, state_of(result, KORVANE_UTIL_NOT_CONFIGURED), result);
        return;
    }
    connection->delay_ms = FIRST_DELAY_MS;
    enter(connection, KORVANE_UTIL_CONNECTED, KORVANE_ERROR_NONE);
}

static void on_connection(int result, korvane_h handle, int status, void *user_data)
{
    korvane_util_connection_h connection = user_data;
    (void)handle;
    if (is_over(connection))
        return;
    ++connection->users;
    if (status == KORVANE_CONNECTION_CONNECTED)
        configure(connection);
    else
        fail(connection,
             state_of(result, status == KORVANE_CONNECTION_REJECTED ? KORVANE_UTIL_UNREACHABLE : KORVANE_UTIL_LOST),
             result);
    release(connection);
}

/* A call of the application has failed because the link broke. */
static void on_io_error(korvane_h handle, void *user_data)
{
    korvane_util_connection_h connection = user_data;
    (void)handle;
    if (is_over(connection))
        return;
    ++connection->users;
    fail(connection, KORVANE_UTIL_LOST, KORVANE_ERROR_IO_ERROR);
    release(connection);
}

/* ---- attempts ---------------------------------------------------------------------------------------------------- */

/* While the agent is being replaced, the library refuses every request on the former session. A new session would be
 * rejected as well, and lose the report that the update has ended. */
static bool is_being_replaced(korvane_util_connection_h connection)
{
    bool is_set_up = false;
    return connection->state == KORVANE_UTIL_UPDATING && connection->handle &&
           korvane_get_easysetup_status(connection->handle, &is_set_up) == KORVANE_ERROR_SERVICE_UNAVAILABLE;
}

static int begin_session(korvane_util_connection_h connection)
{
    if (is_being_replaced(connection))
        return KORVANE_ERROR_SERVICE_UNAVAILABLE;
    int result = end_former_session();
    if (result == KORVANE_ERROR_NONE)
        result = end_session(connection);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_initialize(&connection->handle, on_connection, connection);
    if (result == KORVANE_ERROR_NONE)
        result = korvane_set_rpc_io_error_cb(connection->handle, on_io_error, connection);
    return result;
}

static gboolean attempt(gpointer data)
{
    korvane_util_connection_h connection = data;
    ++connection->users;
    cancel_attempt(connection);
    int result = begin_session(connection);
    if (result != KORVANE_ERROR_NONE)
        fail(connection, state_of(result, KORVANE_UTIL_UNREACHABLE), result);
    else if (connection->state == KORVANE_UTIL_REFUSED)
        enter(connection, KORVANE_UTIL_CONNECTING, KORVANE_ERROR_NONE);
    release(connection);
    return G_SOURCE_REMOVE;
}

/* ---- the interface ----------------------------------------------------------------------------------------------- */

int korvane_util_connect(korvane_util_configure_cb configure_device, korvane_util_state_cb changed, void *user_data,
                         korvane_util_connection_h *connection)
{
    if (!configure_device || !connection)
        return KORVANE_ERROR_INVALID_PARAMETER;
    if (current)
        return KORVANE_ERROR_OPERATION_FAILED;
    korvane_util_connection_h created = malloc(sizeof *created);
    if (!created)
        return KORVANE_ERROR_OUT_OF_MEMORY;
    *created = (struct korvane_util_connection_s){
        .configure = configure_device,
        .changed = changed,
        .user_data = user_data,
        .state = KORVANE_UTIL_CONNECTING,
        .result = KORVANE_ERROR_NONE,
        .context = g_main_context_ref_thread_default(),
        .delay_ms = FIRST_DELAY_MS,
        .users = 1,
    };
    set_timer(created, 0);
    current = *connection = created;
    return KORVANE_ERROR_NONE;
}

int korvane_util_disconnect(korvane_util_connection_h connection)
{
    if (!connection || connection->has_ended)
        return KORVANE_ERROR_NONE;
    connection->has_ended = true;
    cancel_attempt(connection);
    current = NULL;
    int result = end_session(connection);
    if (result != KORVANE_ERROR_NONE)
        unended = connection;
    release(connection);
    return result;
}

korvane_h korvane_util_get_handle(korvane_util_connection_h connection)
{
    return connection && connection->state == KORVANE_UTIL_CONNECTED ? connection->handle : NULL;
}

void korvane_util_connect_now(korvane_util_connection_h connection)
{
    if (connection && !connection->has_ended && (connection->timer || connection->state == KORVANE_UTIL_REFUSED))
        set_timer(connection, 0);
}
