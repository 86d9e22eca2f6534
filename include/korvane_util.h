/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_UTIL_H
#define KORVANE_UTIL_H

/**
 * @file korvane_util.h
 * @brief What applications of Korvane otherwise write themselves.
 *
 * A companion of korvane.h: facts about the installed agent, explanations of result codes, and a supervised connection,
 * which connects again after each interruption. Nothing here is needed to use korvane.h.
 *
 * The rules of korvane.h hold: everything is used from the thread that runs the application's GLib main loop. The header
 * is plain C99 and valid C++17. Link with -lkorvane-util -lkorvane.
 */

#include <korvane.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup korvane_util_facts Facts
 *
 * No function of this group writes a log line or sends a request.
 * @{
 */

/** A result code in words, as in korvane_results.h. The texts are English and belong to the library. */
struct korvane_util_result {
    int code;           /**< a value of enum korvane_error */
    const char *name;   /**< its name without the prefix, as "IO_ERROR" */
    const char *cause;  /**< why a function returns it */
    const char *remedy; /**< what the application or its user can do */
};

/**
 * Explains a result code.
 *
 * @param code  any number
 * @return The explanation, valid for ever, or NULL if no function of korvane.h has this result. A callback may receive
 *         other numbers, which the agent defines.
 */
KORVANE_API const struct korvane_util_result *korvane_util_explain(int code);

/** The installed agent. */
struct korvane_util_agent {
    bool is_installed;
    /** 1000 x major + minor, as 1004 for 1.4; 0 if it is not installed or its version cannot be read. */
    int version;
    /** Whether it exchanges JSON documents (2.0 and later) instead of records. */
    bool uses_documents;
};

/**
 * Reads from the package manager which agent is installed. It need not run.
 *
 * @param agent  receives the facts
 * @return KORVANE_ERROR_NONE; KORVANE_ERROR_INVALID_PARAMETER if `agent` is NULL
 */
KORVANE_API int korvane_util_get_agent(struct korvane_util_agent *agent);

/**
 * Returns the version of libkorvane with which this library was built.
 *
 * @return The version, as "2.3.3". It is valid for ever.
 */
KORVANE_API const char *korvane_util_get_library_version(void);

/**
 * Returns the lowest agent version that a function of korvane.h needs.
 *
 * @param function  name of the function, as "korvane_set_random_pin"
 * @return 1000 x major + minor; 0 if any agent will do; -1 if korvane.h has no function of this name
 */
KORVANE_API int korvane_util_get_lowest_version(const char *function);

/**
 * Whether the installed agent is new enough for a function. Use it to leave a call out: korvane.h itself logs an error for
 * each call that it refuses.
 *
 * @param function  name of the function, as "korvane_set_random_pin"
 * @return false also if no agent is installed or korvane.h has no function of this name
 */
KORVANE_API bool korvane_util_is_available(const char *function);

/** @} */

/**
 * @defgroup korvane_util_connection Supervised connection
 *
 * Connects to the agent, and connects again when the agent ends, is updated or is installed. After each connection it calls
 * the application's configure function, because the agent has forgotten the registrations of the former one:
 * @code
 * static int configure(korvane_h device, void *user_data)
 * {
 *     int result = korvane_set_scan_ap_cb(device, on_scan_ap, user_data);
 *     if (result == KORVANE_ERROR_NONE)
 *         result = korvane_set_device_property(device, "Lamp", 11, 1);
 *     return result == KORVANE_ERROR_NONE ? korvane_start(device) : result;
 * }
 *
 * static void on_state(enum korvane_util_state state, int result, korvane_h device, void *user_data)
 * {
 *     printf("connection: %s\n", korvane_util_get_state_name(state));
 * }
 *
 * int main(void)
 * {
 *     GMainLoop *loop = g_main_loop_new(NULL, FALSE);
 *     korvane_util_connection_h connection = NULL;
 *     if (korvane_util_connect(configure, on_state, NULL, &connection) != KORVANE_ERROR_NONE)
 *         return 1;
 *     g_main_loop_run(loop);
 *     korvane_util_disconnect(connection);
 *     return 0;
 * }
 * @endcode
 *
 * The delay between two attempts is 100 ms at first and doubles up to 2 s; a connection that was configured sets it back.
 * @{
 */

/** A supervised connection. A process can have one at a time. */
typedef struct korvane_util_connection_s *korvane_util_connection_h;

/** What the connection does. Each state but the first two and the last is followed by another attempt. */
enum korvane_util_state {
    /** An attempt is under way. */
    KORVANE_UTIL_CONNECTING = 0,
    /** The agent is connected, and the configure function has succeeded. */
    KORVANE_UTIL_CONNECTED = 1,
    /** No agent is installed. */
    KORVANE_UTIL_NOT_INSTALLED = 2,
    /** The agent is being updated. */
    KORVANE_UTIL_UPDATING = 3,
    /** The agent is installed, but does not run or does not reply. */
    KORVANE_UTIL_UNREACHABLE = 4,
    /** The connection broke. */
    KORVANE_UTIL_LOST = 5,
    /** The configure function has failed. */
    KORVANE_UTIL_NOT_CONFIGURED = 6,
    /** The agent or the platform denies this application the connection. The attempts have ended. */
    KORVANE_UTIL_REFUSED = 7,
};

/**
 * Returns the name of a state in words.
 *
 * @param state  one of enum korvane_util_state
 * @return The name in lower case, as "not installed"; "unknown" for another number. It is valid for ever.
 */
KORVANE_API const char *korvane_util_get_state_name(int state);

/**
 * Called after each connection: registers callbacks, describes the device, starts the service, registers sub-devices.
 *
 * It may call any function of korvane.h except korvane_initialize(), korvane_deinitialize() and
 * korvane_set_rpc_io_error_cb(), which the connection itself uses, and may call korvane_util_disconnect().
 *
 * @param handle     live handle; belongs to the connection, valid until the next state but CONNECTED
 * @param user_data  as given to korvane_util_connect()
 * @return KORVANE_ERROR_NONE if the device is configured. After another result the connection is closed and tried again;
 *         after KORVANE_ERROR_PERMISSION_DENIED it is closed.
 */
typedef int (*korvane_util_configure_cb)(korvane_h handle, void *user_data);

/**
 * Called after each change of the state, and after each attempt that fails for another reason than the one before.
 *
 * It may do what the configure function may.
 *
 * @param state      the new state
 * @param result     the result code that led to it; KORVANE_ERROR_NONE if there is none
 * @param handle     live handle if the state is KORVANE_UTIL_CONNECTED, otherwise NULL
 * @param user_data  as given to korvane_util_connect()
 */
typedef void (*korvane_util_state_cb)(enum korvane_util_state state, int result, korvane_h handle, void *user_data);

/**
 * Begins to connect. The callbacks run from the main context that is the thread's default now, at the earliest at its next
 * turn.
 *
 * @param configure   called after each connection
 * @param changed     called after each change of the state; may be NULL
 * @param user_data   passed to both; must stay valid until korvane_util_disconnect()
 * @param connection  receives the connection; the application ends it with korvane_util_disconnect()
 * @return KORVANE_ERROR_NONE; KORVANE_ERROR_INVALID_PARAMETER if `configure` or `connection` is NULL;
 *         KORVANE_ERROR_OPERATION_FAILED if a connection exists already; KORVANE_ERROR_OUT_OF_MEMORY
 */
KORVANE_API int korvane_util_connect(korvane_util_configure_cb configure, korvane_util_state_cb changed,
                                     void *user_data, korvane_util_connection_h *connection);

/**
 * Ends the connection and the session with the agent. Does not stop the agent's service; call korvane_stop() before if it
 * shall end.
 *
 * The connection is freed in any case, and its two callbacks do not run afterwards. The session can be ended only while an agent
 * is installed. Otherwise the library keeps it until the next connection of this process: the callbacks that the configure
 * function has registered may run until then, and their user data must stay valid.
 *
 * @param connection  what korvane_util_connect() returned, or NULL
 * @return KORVANE_ERROR_NONE if the session has ended, or there was none; KORVANE_ERROR_NOT_SUPPORTED or
 *         KORVANE_ERROR_AGENT_VERSION_LOWER if the library keeps it, because no agent is installed
 */
KORVANE_API int korvane_util_disconnect(korvane_util_connection_h connection);

/**
 * Returns the handle for the functions of korvane.h. Do not keep it: ask again for each use.
 *
 * @param connection  what korvane_util_connect() returned, or NULL
 * @return The live handle; NULL unless the state is KORVANE_UTIL_CONNECTED
 */
KORVANE_API korvane_h korvane_util_get_handle(korvane_util_connection_h connection);

/**
 * Tries to connect at the next turn of the main loop instead of after the delay; in the state KORVANE_UTIL_REFUSED, begins
 * again. Does nothing while connected or connecting.
 *
 * @param connection  what korvane_util_connect() returned, or NULL
 */
KORVANE_API void korvane_util_connect_now(korvane_util_connection_h connection);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
