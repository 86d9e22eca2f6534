/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_H
#define KORVANE_H

/**
 * @file korvane.h
 * @brief The C API of Korvane, a library for home devices that a phone provisions and a cloud manages.
 *
 * The work is done by a separate process, the agent. Every function here checks its arguments; a function that needs
 * the agent sends it one request and waits for the reply. What the agent reports later arrives as an event, and the
 * library calls the callback that the application has registered for it.
 *
 * The header is plain C99 and valid C++17. Link with -lkorvane.
 *
 * | group                         | subject                                                                        |
 * |-------------------------------|--------------------------------------------------------------------------------|
 * | @ref korvane_rules            | threads, callbacks, result codes, memory: what holds for every function        |
 * | @ref korvane_lifecycle        | connecting to the agent, starting and stopping its device service              |
 * | @ref korvane_events           | how callbacks for events are registered, and when their user data may be freed |
 * | @ref korvane_one_shots        | requests that one later event completes                                        |
 * | @ref korvane_core             | device id, setup status, reset, confirmations                                  |
 * | @ref korvane_wifi_ap          | the access point that the device is to join                                    |
 * | @ref korvane_ap_list          | the access points that the device sees                                         |
 * | @ref korvane_device_prov      | language, country and time, as the phone sends them                            |
 * | @ref korvane_pins             | PINs, the soft access point, two switches                                      |
 * | @ref korvane_prov_extras      | languages, vendor data, single sign-on, on-boarding features                   |
 * | @ref korvane_cloud            | cloud sign-up, sign-in and session                                             |
 * | @ref korvane_identity         | platform data, last status, profile, names                                     |
 * | @ref korvane_keepalive        | keep-alive, presence, TCP header                                               |
 * | @ref korvane_sub_devices      | devices behind this one, and the group                                         |
 * | @ref korvane_hdr              | certificates and tokens                                                        |
 * | @ref korvane_push             | push messages and diagnostics                                                  |
 * | @ref korvane_tnc              | terms and conditions                                                           |
 */

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
/** Marks the functions that the library exports. */
#define KORVANE_API __attribute__((visibility("default")))
#else
#define KORVANE_API
#endif

/**
 * @defgroup korvane_rules Rules for every function
 *
 * @par Threads
 * The library is used from one thread: the one that runs the application's GLib main loop. Call every function on that
 * thread. Callbacks run on it too, from the main context that was its default in korvane_initialize(). A function that
 * asks the agent blocks until the reply arrives, the link breaks or the platform gives up waiting. The host platform
 * waits 10 seconds; the environment variable KORVANE_REPLY_TIMEOUT_MS changes that.
 *
 * @par When callbacks run
 * @anchor korvane_when
 * The host platform raises events from the main loop only. Other platforms may also raise them inside a call that asks
 * the agent, while the request is sent or the reply is awaited. An application that has to run there expects a
 * callback:
 *  - from the main loop;
 *  - inside any function that asks the agent, before that function returns. This includes the callback of a one-shot
 *    request inside the function that makes the request, and korvane_connection_status_cb() with
 *    #KORVANE_CONNECTION_DISCONNECTED.
 *
 * The callback of korvane_set_rpc_io_error_cb() always runs from the main loop. No callback runs inside
 * korvane_deinitialize() or after it.
 *
 * @par What callbacks may do
 * A callback may call any function, korvane_deinitialize() included. If a callback that runs inside a call
 * deinitialises the library, that call returns #KORVANE_ERROR_OPERATION_FAILED and leaves its out arguments as they
 * were; this also holds if the callback initialises the library again. A callback must not throw a C++ exception:
 * nothing can unwind through the library, and the process ends.
 *
 * @par Result codes
 * @anchor korvane_codes
 * Every function returns #KORVANE_ERROR_NONE or a negative code of enum #korvane_error:
 *
 * | code                                | value       | value as hex |
 * |-------------------------------------|-------------|--------------|
 * | #KORVANE_ERROR_NONE                 |           0 | 0x00000000   |
 * | #KORVANE_ERROR_IO_ERROR             |          -5 | 0xFFFFFFFB   |
 * | #KORVANE_ERROR_OUT_OF_MEMORY        |         -12 | 0xFFFFFFF4   |
 * | #KORVANE_ERROR_PERMISSION_DENIED    |         -13 | 0xFFFFFFF3   |
 * | #KORVANE_ERROR_INVALID_PARAMETER    |         -22 | 0xFFFFFFEA   |
 * | #KORVANE_ERROR_NO_DATA              |         -61 | 0xFFFFFFC3   |
 * | #KORVANE_ERROR_NOT_SUPPORTED        | -1073741822 | 0xC0000002   |
 * | #KORVANE_ERROR_OPERATION_FAILED     | -1073741825 | 0xBFFFFFFF   |
 * | #KORVANE_ERROR_SERVICE_UNAVAILABLE  | -1073741826 | 0xBFFFFFFE   |
 * | #KORVANE_ERROR_AGENT_VERSION_LOWER  | -1073741827 | 0xBFFFFFFD   |
 *
 * The checks run in this order, and the first one that fails decides: the agent is installed, its version is high
 * enough, the handle is live, the other arguments are valid, the agent is not being installed. A function that fails
 * leaves its out arguments as they were, unless its description says otherwise.
 *
 * @par Refusals
 * @anchor korvane_refusals
 * #KORVANE_ERROR_NOT_SUPPORTED, #KORVANE_ERROR_AGENT_VERSION_LOWER and #KORVANE_ERROR_INVALID_PARAMETER are refusals,
 * and #KORVANE_ERROR_SERVICE_UNAVAILABLE is one too, except when korvane_initialize() returns it. A refused call has
 * sent nothing to the agent and has changed nothing.
 *
 * @par Agent versions
 * "Lowest agent version: 1.4" means that the library refuses the function with #KORVANE_ERROR_AGENT_VERSION_LOWER if
 * the installed agent is below 1.4 or its version cannot be read. "Lowest agent version: any" means that the function
 * also works with an agent whose version cannot be read; it is refused if the version is a negative number. The version
 * is read at the first call, and again after the agent was updated.
 *
 * @par Results that many functions share
 * Each function names its result codes. These causes are given in one word or two: KORVANE_ERROR_IO_ERROR, the link to
 * the agent failed during the call; KORVANE_ERROR_PERMISSION_DENIED, the agent denied the request;
 * KORVANE_ERROR_OPERATION_FAILED, the agent replied with another failure or with an invalid reply, it is not connected,
 * or there is no memory to send the request or to read the reply;
 * KORVANE_ERROR_SERVICE_UNAVAILABLE, an update is installing the agent; KORVANE_ERROR_NOT_SUPPORTED, no agent is
 * installed.
 *
 * @par Handles and strings
 * A handle is live from the korvane_initialize() that made it to its korvane_deinitialize(). The library is connected
 * from #KORVANE_CONNECTION_CONNECTED to the next report of a connection status. Handles with a create function belong
 * to the application until it destroys them. Handles that a callback receives belong to the library; each type states
 * how long they are valid.
 *
 * Strings end with NUL. The library does not check their encoding; use UTF-8. A string that a function takes is read
 * during the call only. A string that a function returns through an out argument belongs to the application, which
 * calls free() on it:
 * @code
 * static void print_device_id(korvane_h handle)
 * {
 *     char *id = NULL;
 *     if (korvane_get_device_id(handle, &id) == KORVANE_ERROR_NONE)
 *         printf("device id: %s\n", id);
 *     free(id);
 * }
 * @endcode
 *
 * @par Values that the agent defines
 * For a value marked "agent-defined" the library knows neither unit nor coding: it passes the value on unchanged and
 * checks nothing but the range that is given. Where `korvane-agent`, the virtual agent, has a coding of its own, it is
 * given as an example; docs/reference/codings.md lists all of them.
 *
 * @par Memory
 * Running out of memory has a result code wherever the library allocates. GLib's own small allocations end the process.
 *
 * @{
 */

/** Result codes. The values never change. korvane_results.h has the same texts for programs. */
enum korvane_error {
    /** The function succeeded. */
    KORVANE_ERROR_NONE = 0,
    /**
     * An argument is NULL or out of range, a handle is not live, or it was made for another agent version.
     *
     * What to do: correct the argument that the log names; after an update of the agent, destroy its handles and create
     * new ones.
     */
    KORVANE_ERROR_INVALID_PARAMETER = -22,
    /**
     * The library could not allocate memory.
     *
     * What to do: release memory, then repeat the call.
     */
    KORVANE_ERROR_OUT_OF_MEMORY = -12,
    /**
     * The agent denied the request, or the platform denied the connection.
     *
     * What to do: give the application the permission; a retry alone does not help.
     */
    KORVANE_ERROR_PERMISSION_DENIED = -13,
    /**
     * The link to the agent failed during the call. See korvane_set_rpc_io_error_cb().
     *
     * What to do: connect again and repeat the registrations; the agent may have carried out the request. To connect
     * again, call korvane_deinitialize() and korvane_initialize().
     */
    KORVANE_ERROR_IO_ERROR = -5,
    /**
     * No sub-device is registered.
     *
     * What to do: register a sub-device first. See korvane_register_sub_device().
     */
    KORVANE_ERROR_NO_DATA = -61,
    /**
     * No agent is installed.
     *
     * What to do: install the agent. Then call korvane_initialize().
     */
    KORVANE_ERROR_NOT_SUPPORTED = -1073741822,
    /**
     * The agent replied with a failure or with an invalid reply, or it is not connected. A callback that deinitialises
     * the library during the call leads to this result too. The functions list further causes.
     *
     * What to do: wait for the connection; otherwise the error lines of the log have the reason. Repeat the call only
     * when a condition has changed.
     */
    KORVANE_ERROR_OPERATION_FAILED = -1073741825,
    /**
     * The agent is being updated, or cannot be reached.
     *
     * What to do: try again when the update has ended. Try korvane_initialize() again after a delay.
     */
    KORVANE_ERROR_SERVICE_UNAVAILABLE = -1073741826,
    /**
     * The installed agent is too old for the function, or its version cannot be read.
     *
     * What to do: leave the call out, or update the agent.
     */
    KORVANE_ERROR_AGENT_VERSION_LOWER = -1073741827,
};

/** The session with the agent. At most one exists per process; the library owns it until korvane_deinitialize(). */
typedef struct korvane_s *korvane_h;

/** @} */

/**
 * @defgroup korvane_lifecycle Lifecycle
 *
 * An application initialises the library, waits for #KORVANE_CONNECTION_CONNECTED, registers its callbacks and starts
 * the agent's device service. After a disconnection it deinitialises and initialises again; registrations and one-shot
 * requests do not survive that. Run connect_to_agent() once, then the main loop:
 * @code
 * static korvane_h device;
 * static guint retry_timer;
 *
 * static gboolean connect_to_agent(gpointer unused);
 *
 * static void connect_later(void)
 * {
 *     if (retry_timer == 0)
 *         retry_timer = g_timeout_add_seconds(1, connect_to_agent, NULL);
 * }
 *
 * static void on_connection(int result, korvane_h handle, int status, void *user_data)
 * {
 *     if (status == KORVANE_CONNECTION_CONNECTED) {
 *         int started = korvane_start(handle);
 *         if (started != KORVANE_ERROR_NONE)
 *             fprintf(stderr, "cannot start the device service: %d\n", started);
 *     } else if (result != KORVANE_ERROR_PERMISSION_DENIED) {
 *         connect_later();
 *     }
 * }
 *
 * static gboolean connect_to_agent(gpointer unused)
 * {
 *     retry_timer = 0;
 *     if (device)
 *         korvane_deinitialize(device);
 *     device = NULL;
 *     int result = korvane_initialize(&device, on_connection, NULL);
 *     if (result == KORVANE_ERROR_SERVICE_UNAVAILABLE)
 *         connect_later();
 *     else if (result != KORVANE_ERROR_NONE)
 *         fprintf(stderr, "cannot connect to the agent: %d\n", result);
 *     return G_SOURCE_REMOVE;
 * }
 * @endcode
 * @{
 */

/** States of the connection to the agent, the argument `status` of korvane_connection_status_cb(). */
enum korvane_connection_status {
    /** The agent is reachable. Register callbacks and call korvane_start(). */
    KORVANE_CONNECTION_CONNECTED = 0,
    /** The connection ended. The handle stays live; deinitialise and initialise to connect again. */
    KORVANE_CONNECTION_DISCONNECTED = 1,
    /** The agent refused the connection or could not be reached, or it is about to be updated; see `result`. */
    KORVANE_CONNECTION_REJECTED = 2,
};

/**
 * Called when the connection to the agent comes up, ends or is refused.
 *
 * @param result     KORVANE_ERROR_NONE with the status 0 or 1; KORVANE_ERROR_SERVICE_UNAVAILABLE if an update of the
 *                   agent is the cause (status 1 or 2); with the status 2 also KORVANE_ERROR_PERMISSION_DENIED (the
 *                   agent refused this application) or KORVANE_ERROR_IO_ERROR (the agent could not be reached)
 * @param handle     live handle
 * @param status     one of enum korvane_connection_status
 * @param user_data  as given to korvane_initialize()
 */
typedef void (*korvane_connection_status_cb)(int result, korvane_h handle, int status, void *user_data);

/**
 * Called once, from the main loop, after one or more calls returned KORVANE_ERROR_IO_ERROR.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_rpc_io_error_cb()
 */
typedef void (*korvane_rpc_io_error_cb)(korvane_h handle, void *user_data);

/**
 * Called once with the result of korvane_start_async().
 *
 * @param handle     live handle
 * @param result     result code of the agent, passed on unchanged: 0 if the service has started, otherwise
 *                   agent-defined
 * @param user_data  as given to korvane_start_async()
 */
typedef void (*korvane_start_result_cb)(korvane_h handle, int result, void *user_data);

/**
 * Creates the handle and begins to connect to the agent, which the platform starts if it is not running.
 *
 * @param[out] handle  the new handle; the library owns it until korvane_deinitialize(). Set to NULL if the call fails
 *                     after the checks of the arguments, of an update and of an earlier initialisation; not NULL itself
 * @param callback     called with each change of the connection, see korvane_connection_status_cb; may be NULL
 * @param user_data    passed to `callback` unchanged; may be NULL. It is in use until korvane_deinitialize() returns
 *                     KORVANE_ERROR_NONE; if this function fails, it is no longer in use
 *
 * @retval KORVANE_ERROR_NONE                 `*handle` is set; the connection completes on the main loop
 * @retval KORVANE_ERROR_INVALID_PARAMETER    `handle` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY        no memory for the handle
 * @retval KORVANE_ERROR_PERMISSION_DENIED    the platform does not allow this application to connect to the agent
 * @retval KORVANE_ERROR_SERVICE_UNAVAILABLE  an update of the agent has begun, or the agent cannot be reached
 * @retval KORVANE_ERROR_OPERATION_FAILED     the library is initialised already, or the connection cannot be prepared
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Requests fail until the callback reports KORVANE_CONNECTION_CONNECTED;
 * korvane_deinitialize() ends the session.
 */
KORVANE_API int korvane_initialize(korvane_h *handle, korvane_connection_status_cb callback, void *user_data);

/**
 * Ends the session: closes the connection and releases the handle with its registrations, its pending one-shot requests
 * and the handles that callbacks received.
 *
 * @param handle  live handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               done; no callback runs any more, and all user data may be freed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; nothing is released
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. May be called in any callback. korvane_initialize() may follow at once.
 */
KORVANE_API int korvane_deinitialize(korvane_h handle);

/**
 * Asks the agent to start its device service and waits until it has replied.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the service has started
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_stop() stops the service, korvane_start_async() does not
 * wait.
 */
KORVANE_API int korvane_start(korvane_h handle);

/**
 * Asks the agent to start its device service; the callback receives the result.
 *
 * @param handle     live handle; not NULL
 * @param callback   called once with the result, see korvane_start_result_cb and @ref korvane_one_shots; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it while connected; korvane_stop() stops the service.
 */
KORVANE_API int korvane_start_async(korvane_h handle, korvane_start_result_cb callback, void *user_data);

/**
 * Asks the agent to stop its device service and waits until it has replied.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the service has stopped
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected, after korvane_start() or korvane_start_async().
 */
KORVANE_API int korvane_stop(korvane_h handle);

/**
 * Sets the callback for calls that failed because the link to the agent broke.
 *
 * @param handle     live handle; not NULL
 * @param callback   called from the main loop, once for all failures since its last run, see korvane_rpc_io_error_cb;
 *                   not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL. It is in use until this function,
 *                   korvane_unset_rpc_io_error_cb() or korvane_deinitialize() returns KORVANE_ERROR_NONE
 *
 * @retval KORVANE_ERROR_NONE               set; an earlier callback is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier callback stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. The agent is not asked: call it any time after korvane_initialize(). A failure schedules a
 * call only if a callback is set at that time.
 */
KORVANE_API int korvane_set_rpc_io_error_cb(korvane_h handle, korvane_rpc_io_error_cb callback, void *user_data);

/**
 * Removes the callback of korvane_set_rpc_io_error_cb(). Does nothing if none is set.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               removed; the callback does not run any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the callback stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. The agent is not asked.
 */
KORVANE_API int korvane_unset_rpc_io_error_cb(korvane_h handle);

/** @} */

/**
 * @defgroup korvane_events Callbacks for events
 *
 * Each event of the agent has a set function, korvane_set_..._cb(), that registers a callback, and an unset function,
 * korvane_unset_..._cb(), that ends the registration. Each event has at most one registration. A callback must stay
 * valid as long as its user data. Strings and handles that it receives belong to the library; they are valid during the
 * call unless the description of the callback says otherwise.
 *
 * What the result of a set function means:
 *
 * | result of set                      | the earlier registration             | the callback given to this call      |
 * |------------------------------------|--------------------------------------|--------------------------------------|
 * | KORVANE_ERROR_NONE                 | is replaced                          | is registered                        |
 * | a @ref korvane_refusals "refusal"  | stays: its callback runs as before   | is not used                          |
 * | any other                          | ends; its callback may still run     | is not used                          |
 *
 * A set function that fails with another code than a refusal (KORVANE_ERROR_OPERATION_FAILED, KORVANE_ERROR_IO_ERROR,
 * KORVANE_ERROR_PERMISSION_DENIED) has ended the earlier registration with the agent. Events usually do not arrive any
 * more; but the agent may have accepted the new registration in spite of the failure, and then its events go to the
 * earlier callback with the earlier user data. Call the set function again, or the unset function.
 *
 * What the result of an unset function means:
 *
 * | result of unset                    | the registration                                                          |
 * |------------------------------------|---------------------------------------------------------------------------|
 * | a @ref korvane_refusals "refusal"  | stays: its callback runs as before, for instance while an agent is updated |
 * | any other, failures included       | has ended: its callback does not run any more                             |
 *
 * @par When user data may be freed
 * @anchor korvane_user_data
 *  1. The user data of a registration: as soon as the unset function of its event, called after the registration,
 *     returned KORVANE_ERROR_NONE, KORVANE_ERROR_OPERATION_FAILED, KORVANE_ERROR_IO_ERROR or
 *     KORVANE_ERROR_PERMISSION_DENIED.
 *  2. The user data of a registration: as soon as a later call of the set function of its event returned
 *     KORVANE_ERROR_NONE, unless that call was given the same pointer.
 *  3. The user data given to a set function: at once if it returned anything but KORVANE_ERROR_NONE. The user data of
 *     the earlier registration stay in use.
 *  4. All user data: as soon as korvane_deinitialize() returned KORVANE_ERROR_NONE.
 *
 * A callback that is still running has its own user data in use, whatever it has called.
 *
 * @anchor korvane_nested
 * Platforms that raise events inside calls (see @ref korvane_when) make one more case possible: a
 * callback calls the set or unset function of an event inside another call of the set function of the same event. The
 * unset function then ends the earlier registration only; the call around it registers its callback if it returns
 * KORVANE_ERROR_NONE. A set function that is called inside the unset function of its event does not outlast it: the unset
 * function, which returns last, ends both registrations. After two set functions, one inside the other, rule 2 does not
 * apply to their own user data: keep both until rule 1 or rule 4 applies.
 *
 * @par Example
 * @code
 * struct display {
 *     int status;
 * };
 *
 * static void on_status(korvane_h handle, int status, void *user_data)
 * {
 *     struct display *display = user_data;
 *     display->status = status;
 * }
 *
 * static struct display *watch_status(korvane_h handle)
 * {
 *     struct display *display = calloc(1, sizeof *display);
 *     if (display && korvane_set_status_changed_cb(handle, on_status, display) != KORVANE_ERROR_NONE) {
 *         free(display);
 *         display = NULL;
 *     }
 *     return display;
 * }
 *
 * // Returns false if the registration stays: then the display is still in use, and the caller tries again later.
 * static bool unwatch_status(korvane_h handle, struct display *display)
 * {
 *     switch (korvane_unset_status_changed_cb(handle)) {
 *     case KORVANE_ERROR_NOT_SUPPORTED:
 *     case KORVANE_ERROR_AGENT_VERSION_LOWER:
 *     case KORVANE_ERROR_INVALID_PARAMETER:
 *     case KORVANE_ERROR_SERVICE_UNAVAILABLE: return false;
 *     default: free(display); return true;
 *     }
 * }
 * @endcode
 */

/**
 * @defgroup korvane_one_shots One-shot requests
 *
 * A one-shot request is completed by one later event. These functions make one: korvane_start_async(),
 * korvane_get_group_id(), korvane_create_hdr_certificate(), korvane_get_hdr_certificate(),
 * korvane_create_hdr_token_info() and korvane_create_hdr_token_info_custom(). Several may be pending at once, also of
 * the same kind.
 *
 * The callback runs at most once:
 *  - after the function has returned KORVANE_ERROR_NONE, when the event arrives. It does not run if the agent never
 *    sends the event, for instance because the link broke, nor after korvane_deinitialize();
 *  - or before the function returns, on platforms that raise events inside calls (see @ref korvane_when).
 *    The function then still returns the agent's result of the request, which may be a failure;
 *  - never after the function has returned a failure, and never in a call that was @ref korvane_refusals "refused".
 *
 * The user data are in use until the callback has run. If it has not run, they may be freed as soon as the function has
 * returned anything but KORVANE_ERROR_NONE, or korvane_deinitialize() has returned KORVANE_ERROR_NONE. An application
 * that frees them in the callback checks after a failure whether the callback has run already:
 * @code
 * struct group_request {
 *     bool *answered;
 * };
 *
 * static void on_group_id(korvane_h handle, const char *group_id, void *user_data)
 * {
 *     struct group_request *request = user_data;
 *     printf("group: %s\n", group_id);
 *     *request->answered = true;
 *     free(request);
 * }
 *
 * // The flag outlives the request. It becomes true when the callback has run.
 * static int request_group_id(korvane_h handle, bool *answered)
 * {
 *     struct group_request *request = malloc(sizeof *request);
 *     if (!request)
 *         return KORVANE_ERROR_OUT_OF_MEMORY;
 *     request->answered = answered;
 *     *answered = false;
 *     int result = korvane_get_group_id(handle, on_group_id, request);
 *     if (result != KORVANE_ERROR_NONE && !*answered)
 *         free(request);
 *     return result;
 * }
 * @endcode
 */

/**
 * @defgroup korvane_core Core device state and commands
 *
 * Reads the device's id and setup status, resets the device, and sends the confirmations that the agent asks for.
 * @{
 */

/**
 * Called when the agent's setup status has changed.
 *
 * @param handle     live handle
 * @param status     new status; agent-defined. `korvane-agent`: 0 waiting, 1 phone connected, 2 joining the network, 3
 *                   joined, 4 set up, 5 failed
 * @param user_data  as given to korvane_set_status_changed_cb()
 */
typedef void (*korvane_status_changed_cb)(korvane_h handle, int status, void *user_data);

/**
 * Registers the callback for changes of the agent's setup status.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new status, see korvane_status_changed_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_status_changed_cb() ends the registration.
 */
KORVANE_API int korvane_set_status_changed_cb(korvane_h handle, korvane_status_changed_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_status_changed_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_status_changed_cb(korvane_h handle);

/**
 * Called when the agent asks for the user's consent to the setup. Reply with korvane_send_user_confirm(), now or later.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_user_confirm_cb()
 */
typedef void (*korvane_user_confirm_cb)(korvane_h handle, void *user_data);

/**
 * Registers the callback that asks for the user's consent.
 *
 * @param handle     live handle; not NULL
 * @param callback   called when consent is needed, see korvane_user_confirm_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_user_confirm_cb() ends the registration.
 */
KORVANE_API int korvane_set_user_confirm_cb(korvane_h handle, korvane_user_confirm_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_user_confirm_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_user_confirm_cb(korvane_h handle);

/**
 * Called when the agent asks whether the device may be reset. Reply with korvane_send_reset_confirm(), now or later.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_reset_confirm_cb()
 */
typedef void (*korvane_reset_confirm_cb)(korvane_h handle, void *user_data);

/**
 * Registers the callback that asks for permission to reset the device.
 *
 * @param handle     live handle; not NULL
 * @param callback   called before a reset, see korvane_reset_confirm_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_reset_confirm_cb() ends the registration.
 */
KORVANE_API int korvane_set_reset_confirm_cb(korvane_h handle, korvane_reset_confirm_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_reset_confirm_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_reset_confirm_cb(korvane_h handle);

/**
 * Called when a reset has ended.
 *
 * @param handle     live handle
 * @param result     true if the device was reset
 * @param user_data  as given to korvane_set_reset_result_cb()
 */
typedef void (*korvane_reset_result_cb)(korvane_h handle, bool result, void *user_data);

/**
 * Registers the callback for the result of a reset.
 *
 * @param handle     live handle; not NULL
 * @param callback   called when a reset has ended, see korvane_reset_result_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_reset_result_cb() ends the registration.
 */
KORVANE_API int korvane_set_reset_result_cb(korvane_h handle, korvane_reset_result_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_reset_result_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_reset_result_cb(korvane_h handle);

/**
 * Reads the id under which the agent knows this device.
 *
 * @param handle          live handle; not NULL
 * @param[out] device_id  the id; call free() on it; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*device_id` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `device_id` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected.
 */
KORVANE_API int korvane_get_device_id(korvane_h handle, char **device_id);

/**
 * Reads whether the device is set up (the agent calls the setup "easy-setup").
 *
 * @param handle       live handle; not NULL
 * @param[out] status  the agent's flag, passed on unchanged: true if the device is set up; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*status` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `status` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected.
 */
KORVANE_API int korvane_get_easysetup_status(korvane_h handle, bool *status);

/**
 * Asks the agent to reset the device to the state before its setup.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; the result arrives at the callback of
 * korvane_set_reset_result_cb().
 */
KORVANE_API int korvane_reset(korvane_h handle);

/**
 * Replies to the agent's question of korvane_reset_confirm_cb().
 *
 * @param handle   live handle; not NULL
 * @param confirm  true if the device may be reset
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the reply
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected, once for each run of that callback.
 */
KORVANE_API int korvane_send_reset_confirm(korvane_h handle, bool confirm);

/**
 * Replies to the agent's question of korvane_user_confirm_cb().
 *
 * @param handle   live handle; not NULL
 * @param confirm  true if the user consents to the setup
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the reply
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected, once for each run of that callback.
 */
KORVANE_API int korvane_send_user_confirm(korvane_h handle, bool confirm);

/**
 * Sends the device's name and Wi-Fi capabilities to the agent.
 *
 * @param handle     live handle; not NULL
 * @param dev_name   name that the phone shows; not NULL
 * @param wifi_mode  bit mask of the supported Wi-Fi modes, above 0; agent-defined
 * @param wifi_freq  bit mask of the supported Wi-Fi frequency bands, above 0; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `dev_name` is NULL, or a mask is 0 or negative
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected, before korvane_start().
 */
KORVANE_API int korvane_set_device_property(korvane_h handle, const char *dev_name, int wifi_mode, int wifi_freq);

/**
 * Sends the device's name, Wi-Fi capabilities and Wi-Fi authentication types to the agent.
 *
 * @param handle               live handle; not NULL
 * @param dev_name             name that the phone shows; not NULL
 * @param wifi_mode            bit mask of the supported Wi-Fi modes, above 0; agent-defined
 * @param wifi_freq            bit mask of the supported Wi-Fi frequency bands, above 0; agent-defined
 * @param wifi_authtype_array  supported authentication types, in any order; agent-defined; not NULL
 * @param wifi_authtype_count  number of authentication types; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `dev_name` or `wifi_authtype_array` is NULL, or a mask
 *                                          or the count is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.2).
 *
 * Lowest agent version: 2.2. Call it while connected, before korvane_start(), instead of korvane_set_device_property().
 */
KORVANE_API int korvane_set_device_property_with_wifi_authtype(korvane_h handle, const char *dev_name, int wifi_mode,
                                                               int wifi_freq, const int *wifi_authtype_array,
                                                               int wifi_authtype_count);

/** @} */

/**
 * @defgroup korvane_wifi_ap Wi-Fi access point provisioning
 *
 * The user chooses on the phone which access point the device is to join. A callback receives the access point, and the
 * getters read it. Agents from 1.3 on also send candidates.
 * @code
 * static void on_access_point(korvane_h handle, korvane_ap_info_h ap_info, void *user_data)
 * {
 *     char *ssid = NULL;
 *     char *password = NULL;
 *     if (korvane_apinfo_get_ssid(ap_info, &ssid) == KORVANE_ERROR_NONE &&
 *         korvane_apinfo_get_password(ap_info, &password) == KORVANE_ERROR_NONE && ssid && password)
 *         join_network(ssid, password);
 *     free(ssid);
 *     free(password);
 * }
 *
 * static int follow_access_point(korvane_h handle)
 * {
 *     return korvane_set_wifi_ap_provisioning_cb(handle, on_access_point, NULL);
 * }
 * @endcode
 * @{
 */

/**
 * The access point that the device is to join. The library owns it. It stays valid after the callback returns, until
 * the next event of its kind, the next call of korvane_set_wifi_ap_provisioning_cb() or
 * korvane_unset_wifi_ap_provisioning_cb() that is not @ref korvane_refusals "refused", or korvane_deinitialize().
 *
 * On platforms that raise events inside calls (see @ref korvane_when), read it before calling a function that asks the
 * agent: the next event may arrive inside that call.
 *
 * It has the wire format of the agent that sent it: a record below 1.3, JSON from 1.3 on. If the agent is updated
 * across 1.3 meanwhile, the getters refuse it with KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_ap_info_s *korvane_ap_info_h;

/**
 * Called when the user has chosen the access point to join.
 *
 * @param handle     live handle
 * @param ap_info    the access point; NULL if the agent's data cannot be parsed or there is no memory for them
 * @param user_data  as given to korvane_set_wifi_ap_provisioning_cb()
 */
typedef void (*korvane_wifi_ap_provisioning_cb)(korvane_h handle, korvane_ap_info_h ap_info, void *user_data);

/**
 * Registers the callback for the access point to join.
 *
 * The #korvane_ap_info_h of the last event is released, unless the call is refused.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each access point, see korvane_wifi_ap_provisioning_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_wifi_ap_provisioning_cb() ends the registration.
 */
KORVANE_API int korvane_set_wifi_ap_provisioning_cb(korvane_h handle, korvane_wifi_ap_provisioning_cb callback,
                                                    void *user_data);

/**
 * Ends the registration that korvane_set_wifi_ap_provisioning_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * The #korvane_ap_info_h of the last event is released, unless the call is refused.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_wifi_ap_provisioning_cb(korvane_h handle);

/**
 * Reads the network name (SSID, service set identifier) of an access point.
 *
 * @param ap_info    access point that the callback received; not NULL
 * @param[out] ssid  the name, any bytes, not necessarily UTF-8; call free() on it; NULL if the agent sent another JSON
 *                   type than a string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*ssid` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it; agents below 1.3: no memory for the copy
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy (agents from 1.3 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_ssid(korvane_ap_info_h ap_info, char **ssid);

/**
 * Reads the password of an access point.
 *
 * @param ap_info   access point that the callback received; not NULL
 * @param[out] pwd  the password, a secret; call free() on it; NULL if the agent sent another JSON type than a string;
 *                  not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*pwd` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it; agents below 1.3: no memory for the copy
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy (agents from 1.3 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_password(korvane_ap_info_h ap_info, char **pwd);

/**
 * Reads the authentication type of an access point.
 *
 * @param ap_info        access point that the callback received; not NULL
 * @param[out] authtype  the type; agent-defined; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*authtype` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it (agents from 1.3 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_authtype(korvane_ap_info_h ap_info, int *authtype);

/**
 * Reads the encryption type of an access point.
 *
 * @param ap_info       access point that the callback received; not NULL
 * @param[out] enctype  the type; agent-defined; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*enctype` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it (agents from 1.3 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_enctype(korvane_ap_info_h ap_info, int *enctype);

/**
 * Reads the radio channel of an access point.
 *
 * @param ap_info       access point that the callback received; not NULL
 * @param[out] channel  the channel number; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*channel` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it (agents from 1.3 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_channel(korvane_ap_info_h ap_info, int *channel);

/**
 * Reads the further access points that the device may try.
 *
 * @param ap_info                 access point that the callback received; not NULL
 * @param[out] candidate_ap_json  JSON text; agent-defined; call free() on it; NULL if the agent sent another JSON type
 *                                than a string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*candidate_ap_json` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_candidate_ap(korvane_ap_info_h ap_info, char **candidate_ap_json);

/**
 * Reads the hardware address (BSSID, basic service set identifier) of an access point.
 *
 * @param ap_info     access point that the callback received; not NULL
 * @param[out] bssid  the address as text; agent-defined; call free() on it; NULL if the agent sent another JSON type
 *                    than a string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*bssid` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `ap_info` was received from an agent of the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it in korvane_wifi_ap_provisioning_cb() or while `ap_info` is valid.
 */
KORVANE_API int korvane_apinfo_get_bssid(korvane_ap_info_h ap_info, char **bssid);

/** @} */

/**
 * @defgroup korvane_ap_list Access point scan list
 *
 * The phone asks for the access points that the device sees. The application scans, fills a list and sends it.
 * @code
 * static void on_scan(korvane_h handle, int req_id, void *user_data)
 * {
 *     korvane_aplist_h list = NULL;
 *     if (korvane_aplist_create(&list, 1) != KORVANE_ERROR_NONE)
 *         return;
 *     korvane_aplist_set_ssid(list, 0, "home");
 *     korvane_aplist_set_bssid(list, 0, "02:00:00:00:00:01");
 *     korvane_aplist_set_channel(list, 0, 6);
 *     korvane_aplist_set_signal_level(list, 0, -48);
 *     korvane_send_ap_list(handle, list, req_id);
 *     korvane_aplist_destroy(list);
 * }
 *
 * static int answer_scans(korvane_h handle)
 * {
 *     return korvane_set_scan_ap_cb(handle, on_scan, NULL);
 * }
 * @endcode
 * @{
 */

/**
 * Called when the phone asks for a scan. Reply with korvane_send_ap_list(), now or later.
 *
 * @param handle     live handle
 * @param req_id     request id, any value; give it to korvane_send_ap_list()
 * @param user_data  as given to korvane_set_scan_ap_cb()
 */
typedef void (*korvane_scan_ap_cb)(korvane_h handle, int req_id, void *user_data);

/**
 * Registers the callback for scan requests.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each request, see korvane_scan_ap_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_scan_ap_cb() ends the registration.
 */
KORVANE_API int korvane_set_scan_ap_cb(korvane_h handle, korvane_scan_ap_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_scan_ap_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_scan_ap_cb(korvane_h handle);

/**
 * A list of access points. The application owns it from korvane_aplist_create() to korvane_aplist_destroy().
 *
 * It has the wire format of the agent that is installed at its creation: records below 2.3, JSON from 2.3 on. If the
 * agent is updated across 2.3 meanwhile, the list can only be destroyed; the other functions refuse it with
 * KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_aplist_s *korvane_aplist_h;

/**
 * Creates a list of empty entries.
 *
 * @param[out] list  the new list; destroy it with korvane_aplist_destroy(); not NULL
 * @param count      number of entries, 1 to 524288
 *
 * @retval KORVANE_ERROR_NONE               `*list` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, or `count` is 0 (agents from 2.3 on: or negative)
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the list, or `count` is above 524288 (agents below 2.3: or
 *                                          negative)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Fill the list with the setters, then call korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_create(korvane_aplist_h *list, int count);

/**
 * Destroys a list of either wire format.
 *
 * @param list  the list; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it once for each created list.
 */
KORVANE_API int korvane_aplist_destroy(korvane_aplist_h list);

/**
 * Sets the network name (SSID) of an entry. An earlier value is replaced.
 *
 * @param list  the list; not NULL
 * @param idx   index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param ssid  the name, copied; any bytes; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` or `ssid` is NULL, `idx` is out of range, or `list` was made for the
 *                                          other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_ssid(korvane_aplist_h list, int idx, const char *ssid);

/**
 * Sets the hardware address (BSSID) of an entry. An earlier value is replaced.
 *
 * @param list   the list; not NULL
 * @param idx    index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param bssid  the address as text, copied; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` or `bssid` is NULL, `idx` is out of range, or `list` was made for the
 *                                          other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_bssid(korvane_aplist_h list, int idx, const char *bssid);

/**
 * Sets the authentication type of an entry. An earlier value is replaced.
 *
 * @param list      the list; not NULL
 * @param idx       index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param authtype  the type, any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_authtype(korvane_aplist_h list, int idx, int authtype);

/**
 * Sets the encryption type of an entry. An earlier value is replaced.
 *
 * @param list     the list; not NULL
 * @param idx      index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param enctype  the type, any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_enctype(korvane_aplist_h list, int idx, int enctype);

/**
 * Sets the radio channel of an entry. An earlier value is replaced.
 *
 * @param list     the list; not NULL
 * @param idx      index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param channel  the channel number; any value is passed on
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_channel(korvane_aplist_h list, int idx, int channel);

/**
 * Sets the signal level of an entry. An earlier value is replaced.
 *
 * @param list          the list; not NULL
 * @param idx           index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param signal_level  the level, any value; the unit is agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_signal_level(korvane_aplist_h list, int idx, int signal_level);

/**
 * Sets the maximum data rate of an entry. An earlier value is replaced.
 *
 * @param list      the list; not NULL
 * @param idx       index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param max_rate  the rate, any value; the unit is agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_max_rate(korvane_aplist_h list, int idx, int max_rate);

/**
 * Sets the radio frequency of an entry. An earlier value is replaced.
 *
 * @param list       the list; not NULL
 * @param idx        index of the entry, from 0 to the `count` of korvane_aplist_create() minus 1
 * @param frequency  the frequency, any value; the unit is agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `list` is NULL, `idx` is out of range, or `list` was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.3).
 *
 * Lowest agent version: 2.3. Call it before korvane_send_ap_list().
 */
KORVANE_API int korvane_aplist_set_frequency(korvane_aplist_h list, int idx, int frequency);

/**
 * Sends a list in reply to a request of korvane_scan_ap_cb().
 *
 * @param handle  live handle; not NULL
 * @param list    the scan result; not NULL; stays with the application. Send a list once: with agents from 2.3 on the
 *                request id becomes part of it, and a second call adds another one
 * @param req_id  request id that the callback received
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the list
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `list` is NULL, or it was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; then korvane_aplist_destroy().
 */
KORVANE_API int korvane_send_ap_list(korvane_h handle, korvane_aplist_h list, int req_id);

/** @} */

/**
 * @defgroup korvane_device_prov Device provisioning data
 *
 * The phone sends data about its user and location. A callback receives them, and the getters read them.
 * @code
 * static void on_provisioning_data(korvane_h handle, korvane_device_prov_info_h info, void *user_data)
 * {
 *     char *language = NULL;
 *     if (korvane_devinfo_get_language(info, &language) == KORVANE_ERROR_NONE)
 *         store_language(language);
 *     free(language);
 * }
 *
 * static int follow_provisioning_data(korvane_h handle)
 * {
 *     return korvane_set_device_provisioning_cb(handle, on_provisioning_data, NULL);
 * }
 * @endcode
 * @{
 */

/**
 * Provisioning data from the phone. The library owns them. They stay valid after the callback returns, until the next
 * event of their kind, the next call of korvane_set_device_provisioning_cb() or korvane_unset_device_provisioning_cb()
 * that is not @ref korvane_refusals "refused", or korvane_deinitialize().
 *
 * On platforms that raise events inside calls (see @ref korvane_when), read them before calling a function that asks
 * the agent: the next event may arrive inside that call.
 */
typedef struct korvane_device_prov_info_s *korvane_device_prov_info_h;

/**
 * Called when the phone has sent the device's provisioning data. An event is dropped if there is no memory for its
 * data.
 *
 * @param handle     live handle
 * @param info       the data; never NULL
 * @param user_data  as given to korvane_set_device_provisioning_cb()
 */
typedef void (*korvane_device_provisioning_cb)(korvane_h handle, korvane_device_prov_info_h info, void *user_data);

/**
 * Registers the callback for provisioning data.
 *
 * The #korvane_device_prov_info_h of the last event is released, unless the call is refused.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with the data of each event, see korvane_device_provisioning_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_device_provisioning_cb() ends the registration.
 */
KORVANE_API int korvane_set_device_provisioning_cb(korvane_h handle, korvane_device_provisioning_cb callback,
                                                   void *user_data);

/**
 * Ends the registration that korvane_set_device_provisioning_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * The #korvane_device_prov_info_h of the last event is released, unless the call is refused.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_device_provisioning_cb(korvane_h handle);

/**
 * Reads the user's language.
 *
 * @param info           data that the callback received; not NULL
 * @param[out] language  the language; agent-defined, empty if the phone sent none; call free() on it; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*language` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_device_provisioning_cb() or while `info` is valid.
 */
KORVANE_API int korvane_devinfo_get_language(korvane_device_prov_info_h info, char **language);

/**
 * Reads the country.
 *
 * @param info          data that the callback received; not NULL
 * @param[out] country  the country; agent-defined, empty if the phone sent none; call free() on it; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*country` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_device_provisioning_cb() or while `info` is valid.
 */
KORVANE_API int korvane_devinfo_get_country(korvane_device_prov_info_h info, char **country);

/**
 * Reads date and time.
 *
 * @param info           data that the callback received; not NULL
 * @param[out] datetime  date and time; agent-defined, empty if the phone sent none; call free() on it; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*datetime` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it in korvane_device_provisioning_cb() or while `info` is valid.
 */
KORVANE_API int korvane_devinfo_get_datetime(korvane_device_prov_info_h info, char **datetime);

/**
 * Reads which mobile device registers this one (RMD, registering mobile device).
 *
 * @param info      data that the callback received; not NULL
 * @param[out] rmd  text; agent-defined, empty if the phone sent none; call free() on it; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*rmd` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it in korvane_device_provisioning_cb() or while `info` is valid.
 */
KORVANE_API int korvane_devinfo_get_regist_mobile_device(korvane_device_prov_info_h info, char **rmd);

/** @} */

/**
 * @defgroup korvane_pins PINs, soft access point, switches
 *
 * With a PIN the user confirms that the right device is being set up: the device displays it, plays it as ultrasound,
 * or has it printed on its case.
 * @code
 * static void on_pin(korvane_h handle, const char *pin, int value, void *user_data)
 * {
 *     show_on_display(pin);
 * }
 *
 * static void on_pin_closed(korvane_h handle, void *user_data)
 * {
 *     clear_display();
 * }
 *
 * static int follow_pins(korvane_h handle)
 * {
 *     return korvane_set_pin_cb(handle, on_pin, on_pin_closed, NULL);
 * }
 * @endcode
 * @{
 */

/**
 * Called when the agent has generated a PIN that the device is to display.
 *
 * @param handle     live handle
 * @param pin        the PIN, a secret; valid during the call
 * @param value      number that the agent sends with the PIN; agent-defined. `korvane-agent`: remaining attempts
 * @param user_data  as given to korvane_set_pin_cb()
 */
typedef void (*korvane_pin_generated_cb)(korvane_h handle, const char *pin, int value, void *user_data);

/**
 * Called when the device is to stop displaying the PIN.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_pin_cb()
 */
typedef void (*korvane_pin_display_closed_cb)(korvane_h handle, void *user_data);

/**
 * Registers the callbacks for PINs on the display.
 *
 * @param handle          live handle; not NULL
 * @param generated       called with each PIN, see korvane_pin_generated_cb; not NULL
 * @param display_closed  called when the display closes, see korvane_pin_display_closed_cb; not NULL
 * @param user_data       passed to both callbacks unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `generated` or `display_closed` is NULL; an earlier
 *                                          registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_pin_cb() ends the registration.
 */
KORVANE_API int korvane_set_pin_cb(korvane_h handle, korvane_pin_generated_cb generated,
                                   korvane_pin_display_closed_cb display_closed, void *user_data);

/**
 * Ends the registration that korvane_set_pin_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_pin_cb(korvane_h handle);

/**
 * Called when the agent has generated a PIN that the device is to play as ultrasound.
 *
 * @param handle     live handle
 * @param pin        the PIN, a secret; valid during the call
 * @param value      number that the agent sends with the PIN; agent-defined. `korvane-agent`: remaining attempts
 * @param user_data  as given to korvane_set_ultrasound_pin_cb()
 */
typedef void (*korvane_ultrasound_pin_generated_cb)(korvane_h handle, const char *pin, int value, void *user_data);

/**
 * Called when the device is to stop playing the PIN.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_ultrasound_pin_cb()
 */
typedef void (*korvane_ultrasound_pin_stopped_cb)(korvane_h handle, void *user_data);

/**
 * Registers the callbacks for PINs played as ultrasound.
 *
 * @param handle     live handle; not NULL
 * @param generated  called with each PIN, see korvane_ultrasound_pin_generated_cb; not NULL
 * @param stopped    called when the sound is to stop, see korvane_ultrasound_pin_stopped_cb; not NULL
 * @param user_data  passed to both callbacks unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `generated` or `stopped` is NULL; an earlier
 *                                          registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected; korvane_unset_ultrasound_pin_cb() ends the registration.
 */
KORVANE_API int korvane_set_ultrasound_pin_cb(korvane_h handle, korvane_ultrasound_pin_generated_cb generated,
                                              korvane_ultrasound_pin_stopped_cb stopped, void *user_data);

/**
 * Ends the registration that korvane_set_ultrasound_pin_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_ultrasound_pin_cb(korvane_h handle);

/**
 * Sends a PIN that the application has generated for the current setup to the agent.
 *
 * @param handle  live handle; not NULL
 * @param pin     the PIN; not NULL, not empty
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `pin` is NULL or empty
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_random_pin() withdraws the PIN.
 */
KORVANE_API int korvane_set_random_pin(korvane_h handle, const char *pin);

/**
 * Withdraws the PIN of korvane_set_random_pin().
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent dropped it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_unset_random_pin(korvane_h handle);

/**
 * Sends a PIN that never changes to the agent, for instance one printed on the device.
 *
 * @param handle  live handle; not NULL
 * @param pin     the PIN, any text, also empty; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `pin` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected, before korvane_start().
 */
KORVANE_API int korvane_set_preconfigured_pin(korvane_h handle, const char *pin);

/**
 * Called when the device's soft access point is to be stopped.
 *
 * @param handle     live handle
 * @param user_data  as given to korvane_set_stop_soft_ap_cb()
 */
typedef void (*korvane_stop_soft_ap_cb)(korvane_h handle, void *user_data);

/**
 * Registers the callback for the end of the soft access point.
 *
 * @param handle     live handle; not NULL
 * @param callback   called when it is to be stopped, see korvane_stop_soft_ap_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; korvane_unset_stop_soft_ap_cb() ends the registration.
 */
KORVANE_API int korvane_set_stop_soft_ap_cb(korvane_h handle, korvane_stop_soft_ap_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_stop_soft_ap_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_stop_soft_ap_cb(korvane_h handle);

/**
 * Switches the flag that the agent calls MOT status. The library passes it on; the agent defines its effect.
 *
 * @param handle  live handle; not NULL
 * @param enable  true to switch it on
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected.
 */
KORVANE_API int korvane_set_mot_status(korvane_h handle, bool enable);

/**
 * Switches the setup over Bluetooth Low Energy (GATT, generic attribute profile) on or off.
 *
 * @param handle  live handle; not NULL
 * @param enable  true to switch it on
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_set_gatt_ble(korvane_h handle, bool enable);

/** @} */

/**
 * @defgroup korvane_prov_extras Provisioning extras
 *
 * Newer agents involve the application in more of the setup: languages, vendor data, single sign-on, on-boarding
 * features.
 * @code
 * static void on_language(korvane_h handle, unsigned int req_id, const char *type, const char *value, void *user_data)
 * {
 *     korvane_send_provisioning_language_setting_result(handle, req_id, use_language(value));
 * }
 *
 * static int offer_languages(korvane_h handle)
 * {
 *     const char *const languages[] = {"en-GB", "ko-KR"};
 *     int result = korvane_set_provisioning_language_cb(handle, on_language, NULL);
 *     return result == KORVANE_ERROR_NONE ? korvane_set_language_list(handle, languages, 2) : result;
 * }
 * @endcode
 * @{
 */

/**
 * Sends the languages that the device supports to the agent.
 *
 * @param handle         live handle; not NULL
 * @param language_list  the languages; agent-defined; neither the array nor an element is NULL
 * @param count          number of languages; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, the array or an element is NULL, or `count` is 0 or
 *                                          negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected, before korvane_start().
 */
KORVANE_API int korvane_set_language_list(korvane_h handle, const char *const *language_list, int count);

/**
 * Replies to a request of korvane_provisioning_language_cb().
 *
 * @param handle  live handle; not NULL
 * @param req_id  request id that the callback received
 * @param result  true if the device changed its language
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the reply
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected, once for each run of that callback.
 */
KORVANE_API int korvane_send_provisioning_language_setting_result(korvane_h handle, unsigned int req_id, bool result);

/**
 * Sends vendor-specific provisioning data to the agent.
 *
 * @param handle         live handle; not NULL
 * @param prov_json_str  JSON text, passed on unchanged and not parsed; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `prov_json_str` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected.
 */
KORVANE_API int korvane_set_provisioning_vendor_info(korvane_h handle, const char *prov_json_str);

/**
 * Reports to the agent why the device could not join the access point.
 *
 * @param handle      live handle; not NULL
 * @param error_code  any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected, after korvane_wifi_ap_provisioning_cb() has run and joining
 * failed.
 */
KORVANE_API int korvane_set_wifi_connection_error_code(korvane_h handle, int error_code);

/**
 * Sends the single sign-on (SSO) list to the agent.
 *
 * @param handle    live handle; not NULL
 * @param sso_list  text, passed on unchanged; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `sso_list` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected.
 */
KORVANE_API int korvane_set_sso_list(korvane_h handle, const char *sso_list);

/**
 * Sends the application's version of the setup (easy-setup) to the agent.
 *
 * @param handle           live handle; not NULL
 * @param es_version_info  text, passed on unchanged; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `es_version_info` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected, before korvane_start().
 */
KORVANE_API int korvane_set_easysetup_version_info(korvane_h handle, const char *es_version_info);

/**
 * Called when the phone asks the device to change its language. Reply with
 * korvane_send_provisioning_language_setting_result(), now or later.
 *
 * @param handle     live handle
 * @param req_id     request id, any value; give it to that function
 * @param type       first text of the request, passed on unchanged; agent-defined; valid during the call
 * @param value      second text of the request, likewise
 * @param user_data  as given to korvane_set_provisioning_language_cb()
 */
typedef void (*korvane_provisioning_language_cb)(korvane_h handle, unsigned int req_id, const char *type,
                                                 const char *value, void *user_data);

/**
 * Registers the callback for language requests.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each request, see korvane_provisioning_language_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; korvane_unset_provisioning_language_cb() ends the registration.
 */
KORVANE_API int korvane_set_provisioning_language_cb(korvane_h handle, korvane_provisioning_language_cb callback,
                                                     void *user_data);

/**
 * Ends the registration that korvane_set_provisioning_language_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_provisioning_language_cb(korvane_h handle);

/**
 * Called when the phone has sent vendor-specific provisioning data.
 *
 * @param handle     live handle
 * @param value      number that the agent sends with the data; agent-defined
 * @param text       the data; agent-defined; valid during the call
 * @param user_data  as given to korvane_set_provisioning_vendor_info_cb()
 */
typedef void (*korvane_provisioning_vendor_info_cb)(korvane_h handle, int value, const char *text, void *user_data);

/**
 * Registers the callback for vendor-specific provisioning data.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with the data of each event, see korvane_provisioning_vendor_info_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; korvane_unset_provisioning_vendor_info_cb() ends the
 * registration.
 */
KORVANE_API int korvane_set_provisioning_vendor_info_cb(korvane_h handle, korvane_provisioning_vendor_info_cb callback,
                                                        void *user_data);

/**
 * Ends the registration that korvane_set_provisioning_vendor_info_cb() made, if there is one, and asks the agent to do
 * the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_provisioning_vendor_info_cb(korvane_h handle);

/**
 * Called with the on-boarding feature that the agent reports. The agent's name for on-boarding is OTM.
 *
 * @param handle     live handle
 * @param feature    the feature; agent-defined
 * @param user_data  as given to korvane_set_otm_support_feature_cb()
 */
typedef void (*korvane_otm_support_feature_cb)(korvane_h handle, int feature, void *user_data);

/**
 * Registers the callback for on-boarding (OTM) features.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each feature, see korvane_otm_support_feature_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; korvane_unset_otm_support_feature_cb() ends the registration.
 */
KORVANE_API int korvane_set_otm_support_feature_cb(korvane_h handle, korvane_otm_support_feature_cb callback,
                                                   void *user_data);

/**
 * Ends the registration that korvane_set_otm_support_feature_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_otm_support_feature_cb(korvane_h handle);

/**
 * Called when the agent asks the application for provisioning data.
 *
 * @param handle     live handle
 * @param text       the request; agent-defined; valid during the call
 * @param value      number that the agent sends with it; agent-defined
 * @param user_data  as given to korvane_set_provisioning_get_requested_cb()
 */
typedef void (*korvane_provisioning_get_requested_cb)(korvane_h handle, const char *text, int value, void *user_data);

/**
 * Registers the callback for requests of provisioning data.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each request, see korvane_provisioning_get_requested_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_provisioning_get_requested_cb() ends the
 * registration.
 * korvane_set_provisioning_vendor_info() sends provisioning data.
 */
KORVANE_API int korvane_set_provisioning_get_requested_cb(korvane_h handle,
                                                          korvane_provisioning_get_requested_cb callback,
                                                          void *user_data);

/**
 * Ends the registration that korvane_set_provisioning_get_requested_cb() made, if there is one, and asks the agent to
 * do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_provisioning_get_requested_cb(korvane_h handle);

/** @} */

/**
 * @defgroup korvane_cloud Cloud sign-up and session
 *
 * The application obtains credentials and signs the device up with them; the agent then keeps the device signed in.
 * @code
 * static int sign_up(korvane_h handle, const char *access_token, const char *user_id)
 * {
 *     korvane_cloud_info_h info = NULL;
 *     int result = korvane_cloudinfo_create(&info);
 *     if (result != KORVANE_ERROR_NONE)
 *         return result;
 *     korvane_cloudinfo_set_access_token(info, access_token);
 *     korvane_cloudinfo_set_user_id(info, user_id);
 *     result = korvane_sign_up_cloud(handle, info);
 *     korvane_cloudinfo_destroy(info);
 *     return result;
 * }
 * @endcode
 * @{
 */

/**
 * Credentials for a sign-up. The application owns them from korvane_cloudinfo_create() to korvane_cloudinfo_destroy().
 *
 * They have the wire format of the agent that is installed at their creation: a record below 2.0, JSON from 2.0 on. If
 * the agent is updated across 2.0 meanwhile, they can only be destroyed; the other functions refuse them with
 * KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_cloud_info_s *korvane_cloud_info_h;

/**
 * Creates empty credentials.
 *
 * @param[out] cloud_info  the new handle; destroy it with korvane_cloudinfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*cloud_info` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `cloud_info` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Fill the handle with the setters, then call korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_create(korvane_cloud_info_h *cloud_info);

/**
 * Destroys credentials of either wire format.
 *
 * @param cloud_info  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `cloud_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it once for each created handle.
 */
KORVANE_API int korvane_cloudinfo_destroy(korvane_cloud_info_h cloud_info);

/**
 * Sets the region of the account. An earlier text is replaced.
 *
 * @param cloud_info  handle; not NULL
 * @param region      the region; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_region(korvane_cloud_info_h cloud_info, const char *region);

/**
 * Sets the authentication provider that has verified the user. An earlier text is replaced.
 *
 * @param cloud_info     handle; not NULL
 * @param auth_provider  the provider; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_auth_provider(korvane_cloud_info_h cloud_info, const char *auth_provider);

/**
 * Sets the token that gives access to the account. An earlier text is replaced.
 *
 * @param cloud_info    handle; not NULL
 * @param access_token  the token, a secret, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_access_token(korvane_cloud_info_h cloud_info, const char *access_token);

/**
 * Sets the token that renews the access token. An earlier text is replaced.
 *
 * @param cloud_info     handle; not NULL
 * @param refresh_token  the token, a secret, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_refresh_token(korvane_cloud_info_h cloud_info, const char *refresh_token);

/**
 * Sets the user of the account. An earlier text is replaced.
 *
 * @param cloud_info  handle; not NULL
 * @param user_id     the user id, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_user_id(korvane_cloud_info_h cloud_info, const char *user_id);

/**
 * Sets the id of the client that obtained the tokens. An earlier text is replaced.
 *
 * @param cloud_info  handle; not NULL
 * @param client_id   the client id, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents below 2.0: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 2.0 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_client_id(korvane_cloud_info_h cloud_info, const char *client_id);

/**
 * Sets the cloud interface (CI) server to sign up with. An earlier text is replaced.
 *
 * @param cloud_info  handle; not NULL
 * @param ci_server   the server; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_cloud_interface_server(korvane_cloud_info_h cloud_info, const char *ci_server);

/**
 * Sets the deployment environment of the cloud to sign up with. An earlier text is replaced.
 *
 * @param cloud_info  handle; not NULL
 * @param deploy_env  the environment; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `cloud_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_deploy_environment(korvane_cloud_info_h cloud_info, const char *deploy_env);

/**
 * Adds the type of the tokens. Unlike the other setters it does not replace an earlier value: call it once.
 *
 * @param cloud_info  handle; not NULL
 * @param type        the type, any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               added
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `cloud_info` is NULL or was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the handle is unchanged
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it before korvane_sign_up_cloud().
 */
KORVANE_API int korvane_cloudinfo_set_token_type(korvane_cloud_info_h cloud_info, unsigned int type);

/**
 * Asks the agent to sign the device up to the cloud.
 *
 * @param handle      live handle; not NULL
 * @param cloud_info  credentials, sent as they are at the time of the call; not NULL. They stay with the application
 *                    and may be sent again; with agents from 2.0 on each call adds one more copy of the command number
 *                    to them
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `cloud_info` is NULL or was made for the other wire
 *                                          format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (version below 0).
 *
 * Lowest agent version: any. Call it while connected; the result arrives at the callback of
 * korvane_set_signup_status_changed_cb(). Then korvane_cloudinfo_destroy().
 */
KORVANE_API int korvane_sign_up_cloud(korvane_h handle, korvane_cloud_info_h cloud_info);

/**
 * Switches the sign-in to the cloud off, or on again.
 *
 * @param handle   live handle; not NULL
 * @param disable  true: the device does not sign in; false: it may sign in
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.2).
 *
 * Lowest agent version: 2.2. Call it while connected.
 */
KORVANE_API int korvane_disable_signin(korvane_h handle, bool disable);

/**
 * Asks the agent to end its session with the cloud.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_tcp_session_disconnected_cb() reports the end.
 */
KORVANE_API int korvane_disconnect_cloud_session(korvane_h handle);

/**
 * Reads whether the device is signed in to the cloud.
 *
 * @param handle             live handle; not NULL
 * @param[out] is_signed_in  true if it is signed in; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*is_signed_in` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `is_signed_in` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_set_signin_status_changed_cb() reports changes.
 */
KORVANE_API int korvane_get_signin_status(korvane_h handle, bool *is_signed_in);

/**
 * Reads whether the device is signed up to the cloud.
 *
 * @param handle             live handle; not NULL
 * @param[out] is_signed_up  true if it is signed up; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*is_signed_up` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `is_signed_up` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_set_signup_status_changed_cb() reports changes.
 */
KORVANE_API int korvane_get_signup_status(korvane_h handle, bool *is_signed_up);

/**
 * Reads the agent's status of the device (which the agent calls the thing).
 *
 * @param handle       live handle; not NULL
 * @param[out] status  the status; agent-defined. `korvane-agent`: 0 at first, 1 signed up, 2 signed in; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*status` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `status` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_get_thing_status(korvane_h handle, int *status);

/**
 * Called when the device has been signed in to the cloud or out of it.
 *
 * @param handle     live handle
 * @param status     true if the device is signed in now
 * @param user_data  as given to korvane_set_signin_status_changed_cb()
 */
typedef void (*korvane_signin_status_changed_cb)(korvane_h handle, bool status, void *user_data);

/**
 * Registers the callback for changes of the sign-in.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new status, see korvane_signin_status_changed_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_signin_status_changed_cb() ends the registration.
 */
KORVANE_API int korvane_set_signin_status_changed_cb(korvane_h handle, korvane_signin_status_changed_cb callback,
                                                     void *user_data);

/**
 * Ends the registration that korvane_set_signin_status_changed_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_signin_status_changed_cb(korvane_h handle);

/**
 * Called when the device has been signed up to the cloud, or its sign-up has ended or failed.
 *
 * @param handle     live handle
 * @param status     true if the device is signed up now
 * @param user_data  as given to korvane_set_signup_status_changed_cb()
 */
typedef void (*korvane_signup_status_changed_cb)(korvane_h handle, bool status, void *user_data);

/**
 * Registers the callback for changes of the sign-up.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new status, see korvane_signup_status_changed_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_signup_status_changed_cb() ends the registration.
 */
KORVANE_API int korvane_set_signup_status_changed_cb(korvane_h handle, korvane_signup_status_changed_cb callback,
                                                     void *user_data);

/**
 * Ends the registration that korvane_set_signup_status_changed_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_signup_status_changed_cb(korvane_h handle);

/**
 * Called when the agent's TCP session with the cloud has ended.
 *
 * @param handle           live handle
 * @param last_error_code  cause; agent-defined
 * @param user_data        as given to korvane_set_tcp_session_disconnected_cb()
 */
typedef void (*korvane_tcp_session_disconnected_cb)(korvane_h handle, int last_error_code, void *user_data);

/**
 * Registers the callback for the end of the TCP session with the cloud.
 *
 * @param handle     live handle; not NULL
 * @param callback   called each time the session ends, see korvane_tcp_session_disconnected_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_tcp_session_disconnected_cb() ends the
 * registration.
 */
KORVANE_API int korvane_set_tcp_session_disconnected_cb(korvane_h handle, korvane_tcp_session_disconnected_cb callback,
                                                        void *user_data);

/**
 * Ends the registration that korvane_set_tcp_session_disconnected_cb() made, if there is one, and asks the agent to do
 * the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_tcp_session_disconnected_cb(korvane_h handle);

/** @} */

/**
 * @defgroup korvane_identity Device identity
 *
 * The application describes the device: platform data, last status, profile, names. A device number selects a device: 0
 * is the device itself, sub-devices have numbers from 1 (see @ref korvane_sub_devices).
 * @code
 * static int describe_device(korvane_h handle)
 * {
 *     korvane_platform_info_h info = NULL;
 *     int result = korvane_platforminfo_create(&info);
 *     if (result != KORVANE_ERROR_NONE)
 *         return result;
 *     korvane_platforminfo_set_model_number(info, "WM-7");
 *     korvane_platforminfo_set_platform_version(info, "4.1");
 *     result = korvane_set_platform_info(handle, info);
 *     korvane_platforminfo_destroy(info);
 *     return result == KORVANE_ERROR_NONE ? korvane_set_nick_name(handle, 0, "Washer in the cellar") : result;
 * }
 * @endcode
 * @{
 */

/**
 * Data about the device's model and software. The application owns them from korvane_platforminfo_create() to
 * korvane_platforminfo_destroy().
 *
 * They have the wire format of the agent that is installed at their creation: a record for 1.1, JSON from 1.2 on. If
 * the agent is updated across 1.2 meanwhile, they can only be destroyed; the other functions refuse them with
 * KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_platform_info_s *korvane_platform_info_h;

/**
 * Creates empty platform data.
 *
 * @param[out] platform_info  the new handle; destroy it with korvane_platforminfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*platform_info` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `platform_info` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Fill the handle with the setters, then call korvane_set_platform_info() or
 * korvane_set_platform_info_with_device_no().
 */
KORVANE_API int korvane_platforminfo_create(korvane_platform_info_h *platform_info);

/**
 * Destroys platform data of either wire format.
 *
 * @param platform_info  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `platform_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it once for each created handle.
 */
KORVANE_API int korvane_platforminfo_destroy(korvane_platform_info_h platform_info);

/**
 * Sets the model number. An earlier text is replaced.
 *
 * @param platform_info  handle; not NULL
 * @param model_number   the model number, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents of 1.1: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `platform_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 1.2 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it before korvane_set_platform_info().
 */
KORVANE_API int korvane_platforminfo_set_model_number(korvane_platform_info_h platform_info, const char *model_number);

/**
 * Sets the version of the device's platform. An earlier text is replaced.
 *
 * @param platform_info     handle; not NULL
 * @param platform_version  the version, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; agents of 1.1: also if there was no memory for the copy, which is
 *                                          logged, and the text is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `platform_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays (agents from 1.2 on)
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it before korvane_set_platform_info().
 */
KORVANE_API int korvane_platforminfo_set_platform_version(korvane_platform_info_h platform_info,
                                                          const char *platform_version);

/**
 * Sets the vendor id (VID). An earlier text is replaced.
 *
 * @param platform_info  handle; not NULL
 * @param vid            the vendor id, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `platform_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.2).
 *
 * Lowest agent version: 1.2. Call it before korvane_set_platform_info().
 */
KORVANE_API int korvane_platforminfo_set_vendor_id(korvane_platform_info_h platform_info, const char *vid);

/**
 * Sets the date of manufacture. An earlier text is replaced.
 *
 * @param platform_info  handle; not NULL
 * @param mf_date        the date; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `platform_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it before korvane_set_platform_info().
 */
KORVANE_API int korvane_platforminfo_set_manufacture_date(korvane_platform_info_h platform_info, const char *mf_date);

/**
 * Sets the version of the firmware. An earlier text is replaced.
 *
 * @param platform_info     handle; not NULL
 * @param firmware_version  the version, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or `platform_info` was made for the other wire format
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it before korvane_set_platform_info().
 */
KORVANE_API int korvane_platforminfo_set_firmware_version(korvane_platform_info_h platform_info,
                                                          const char *firmware_version);

/**
 * Sends the platform data of the device itself to the agent.
 *
 * @param handle         live handle; not NULL
 * @param platform_info  platform data, sent as they are at the time of the call; not NULL; stay with the application
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `platform_info` is NULL or was made for the other
 *                                          wire format
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected; then korvane_platforminfo_destroy().
 */
KORVANE_API int korvane_set_platform_info(korvane_h handle, korvane_platform_info_h platform_info);

/**
 * Sends the platform data of one device to the agent. The device number is the last argument.
 *
 * @param handle         live handle; not NULL
 * @param platform_info  platform data, sent as they are at the time of the call; not NULL; stay with the application
 * @param device_no      device number; 0 or above
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `platform_info` is NULL or was made for the other wire
 *                                          format, or `device_no` is negative
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.2).
 *
 * Lowest agent version: 1.2. Call it while connected; then korvane_platforminfo_destroy().
 */
KORVANE_API int korvane_set_platform_info_with_device_no(korvane_h handle, korvane_platform_info_h platform_info,
                                                         int device_no);

/**
 * The device's last status. The application owns it from korvane_laststatusinfo_create() to
 * korvane_laststatusinfo_destroy().
 */
typedef struct korvane_last_status_info_s *korvane_last_status_info_h;

/**
 * Creates a last status with timestamp 0 and no error code.
 *
 * @param[out] last_status_info  the new handle; destroy it with korvane_laststatusinfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*last_status_info` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `last_status_info` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Fill the handle with the setters, then call korvane_set_last_status_info().
 */
KORVANE_API int korvane_laststatusinfo_create(korvane_last_status_info_h *last_status_info);

/**
 * Destroys a last status.
 *
 * @param last_status_info  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `last_status_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it once for each created handle.
 */
KORVANE_API int korvane_laststatusinfo_destroy(korvane_last_status_info_h last_status_info);

/**
 * Sets the time at which the status arose.
 *
 * @param last_status_info  handle; not NULL
 * @param timestamp         the time, any value; unit and origin are agent-defined
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `last_status_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it before korvane_set_last_status_info().
 */
KORVANE_API int korvane_laststatusinfo_set_timestamp(korvane_last_status_info_h last_status_info, int timestamp);

/**
 * Sets the error code. An earlier one is replaced.
 *
 * @param last_status_info  handle; not NULL
 * @param error_code        text, copied; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set; also if there was no memory for the copy, which is logged, and the
 *                                          error code is then missing
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it before korvane_set_last_status_info().
 */
KORVANE_API int korvane_laststatusinfo_set_error_code(korvane_last_status_info_h last_status_info,
                                                      const char *error_code);

/**
 * Sends the device's last status to the agent.
 *
 * @param handle            live handle; not NULL
 * @param last_status_info  handle; not NULL; stays with the application
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `last_status_info` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected; then korvane_laststatusinfo_destroy().
 */
KORVANE_API int korvane_set_last_status_info(korvane_h handle, korvane_last_status_info_h last_status_info);

/**
 * Called when the agent's copy of the last status has changed.
 *
 * @param handle       live handle
 * @param last_status  the status as text; agent-defined; valid during the call
 * @param user_data    as given to korvane_set_last_status_changed_cb()
 */
typedef void (*korvane_last_status_changed_cb)(korvane_h handle, const char *last_status, void *user_data);

/**
 * Registers the callback for changes of the last status.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new status, see korvane_last_status_changed_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_last_status_changed_cb() ends the registration.
 */
KORVANE_API int korvane_set_last_status_changed_cb(korvane_h handle, korvane_last_status_changed_cb callback,
                                                   void *user_data);

/**
 * Ends the registration that korvane_set_last_status_changed_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_last_status_changed_cb(korvane_h handle);

/**
 * The device's profile. The application owns it from korvane_device_profile_info_create() to
 * korvane_device_profile_info_destroy().
 */
typedef struct korvane_device_profile_info_s *korvane_device_profile_info_h;

/**
 * Creates an empty profile.
 *
 * @param[out] dev_profile  the new handle; destroy it with korvane_device_profile_info_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*dev_profile` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `dev_profile` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Fill the handle with the setters, then call korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_create(korvane_device_profile_info_h *dev_profile);

/**
 * Destroys a profile.
 *
 * @param dev_profile  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `dev_profile` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it once for each created handle.
 */
KORVANE_API int korvane_device_profile_info_destroy(korvane_device_profile_info_h dev_profile);

/**
 * Sets the device's nick name. An earlier text is replaced.
 *
 * @param dev_profile  handle; not NULL
 * @param nick         the nick name, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_nick(korvane_device_profile_info_h dev_profile, const char *nick);

/**
 * Sets the device's locale. An earlier text is replaced.
 *
 * @param dev_profile  handle; not NULL
 * @param locale       the locale; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_locale(korvane_device_profile_info_h dev_profile, const char *locale);

/**
 * Sets the id of the registration for push messages. An earlier text is replaced.
 *
 * @param dev_profile  handle; not NULL
 * @param push_reg_id  the id, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_push_reg_id(korvane_device_profile_info_h dev_profile,
                                                            const char *push_reg_id);

/**
 * Sets the id of the application that receives push messages. An earlier text is replaced.
 *
 * @param dev_profile  handle; not NULL
 * @param push_app_id  the id, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_push_app_id(korvane_device_profile_info_h dev_profile,
                                                            const char *push_app_id);

/**
 * Sets the provider that delivers push messages. An earlier text is replaced.
 *
 * @param dev_profile    handle; not NULL
 * @param push_provider  the provider; agent-defined, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_push_provider(korvane_device_profile_info_h dev_profile,
                                                              const char *push_provider);

/**
 * Sets the device's serial number. An earlier text is replaced.
 *
 * @param dev_profile    handle; not NULL
 * @param serial_number  the serial number, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it before korvane_set_device_profile_info().
 */
KORVANE_API int korvane_device_profile_info_set_serial_number(korvane_device_profile_info_h dev_profile,
                                                              const char *serial_number);

/**
 * Sends the profile of the device itself to the agent.
 *
 * @param handle       live handle; not NULL
 * @param dev_profile  profile, sent as it is at the time of the call; not NULL; stays with the application
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `dev_profile` is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; then korvane_device_profile_info_destroy().
 */
KORVANE_API int korvane_set_device_profile_info(korvane_h handle, korvane_device_profile_info_h dev_profile);

/**
 * Sends the text that the agent calls "regist set device" (RSD).
 *
 * @param handle  live handle; not NULL
 * @param rsd     text, passed on unchanged; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `rsd` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected.
 */
KORVANE_API int korvane_set_regist_set_device(korvane_h handle, const char *rsd);

/**
 * Sets the nick name of one device, which the user sees.
 *
 * @param handle     live handle; not NULL
 * @param device_no  device number; 0 or above
 * @param nick       the nick name; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `nick` is NULL, or `device_no` is negative
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.2).
 *
 * Lowest agent version: 1.2. Call it while connected.
 */
KORVANE_API int korvane_set_nick_name(korvane_h handle, int device_no, const char *nick);

/**
 * Sets the name of the device itself.
 *
 * @param handle       live handle; not NULL
 * @param device_name  the name; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `device_name` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_set_device_name(korvane_h handle, const char *device_name);

/**
 * Sets the name of one device. The device number is the last argument.
 *
 * @param handle       live handle; not NULL
 * @param device_name  the name; not NULL
 * @param device_no    device number; 0 or above
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `device_name` is NULL, or `device_no` is negative
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_set_device_name_with_device_no(korvane_h handle, const char *device_name, int device_no);

/**
 * Sets the type of one device.
 *
 * @param handle       live handle; not NULL
 * @param device_no    device number; 0 or above
 * @param device_type  the type; agent-defined; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `device_type` is NULL, or `device_no` is negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it while connected.
 */
KORVANE_API int korvane_set_device_type_with_device_no(korvane_h handle, int device_no, const char *device_type);

/**
 * Reads whether the device has an owner.
 *
 * @param handle         live handle; not NULL
 * @param[out] is_owned  true if it has an owner; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*is_owned` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `is_owned` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.2).
 *
 * Lowest agent version: 1.2. Call it while connected.
 */
KORVANE_API int korvane_get_device_owned_status(korvane_h handle, bool *is_owned);

/**
 * Called when the nick name of a device has changed, for instance on the phone.
 *
 * @param handle     live handle
 * @param device_no  device number; 0 is the device itself
 * @param nick       the new nick name; valid during the call
 * @param user_data  as given to korvane_set_nick_changed_cb()
 */
typedef void (*korvane_nick_changed_cb)(korvane_h handle, int device_no, const char *nick, void *user_data);

/**
 * Registers the callback for changes of nick names.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new name, see korvane_nick_changed_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; korvane_unset_nick_changed_cb() ends the registration.
 */
KORVANE_API int korvane_set_nick_changed_cb(korvane_h handle, korvane_nick_changed_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_nick_changed_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_nick_changed_cb(korvane_h handle);

/**
 * Called with the ids of the user's devices when the cloud's list of them has changed.
 *
 * @param handle      live handle
 * @param device_ids  array of `count` ids; array and ids are valid during the call; not NULL, even if `count` is 0
 * @param count       number of ids; 0 or above
 * @param user_data   as given to korvane_set_cloud_device_list_cb()
 */
typedef void (*korvane_cloud_device_list_cb)(korvane_h handle, const char *const *device_ids, int count,
                                             void *user_data);

/**
 * Registers the callback for the cloud's list of devices.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each new list, see korvane_cloud_device_list_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected; korvane_unset_cloud_device_list_cb() ends the registration.
 */
KORVANE_API int korvane_set_cloud_device_list_cb(korvane_h handle, korvane_cloud_device_list_cb callback,
                                                 void *user_data);

/**
 * Ends the registration that korvane_set_cloud_device_list_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_cloud_device_list_cb(korvane_h handle);

/** @} */

/**
 * @defgroup korvane_keepalive Keep-alive and the TCP connection of the agent
 *
 * The agent keeps its TCP connection to the cloud alive. An application whose network hardware can send keep-alives by
 * itself reads the header fields of that connection.
 * @code
 * static int read_source_port(korvane_h handle, int *port)
 * {
 *     korvane_tcp_header_info_h header = NULL;
 *     int result = korvane_get_tcp_header_info(handle, &header);
 *     if (result != KORVANE_ERROR_NONE)
 *         return result;
 *     result = korvane_tcp_header_info_get_src_port(header, port);
 *     korvane_release_tcp_header_info(header);
 *     return result;
 * }
 *
 * static int choose_intervals(korvane_h handle)
 * {
 *     const int intervals[] = {30, 60, 120};
 *     const int second_and_third[] = {1, 2};
 *     int result = korvane_set_keepalive_intervals(handle, intervals, 3);
 *     return result == KORVANE_ERROR_NONE ? korvane_select_keepalive_intervals(handle, second_and_third, 2) : result;
 * }
 * @endcode
 * @{
 */

/**
 * Sends a table of keep-alive intervals to the agent.
 *
 * @param handle          live handle; not NULL
 * @param interval_array  the intervals, any values; the unit is agent-defined (`korvane-agent`: seconds); read during
 *                        the call; not NULL
 * @param count           number of intervals; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `interval_array` is NULL, or `count` is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; then korvane_select_keepalive_intervals().
 */
KORVANE_API int korvane_set_keepalive_intervals(korvane_h handle, const int *interval_array, int count);

/**
 * Selects intervals of the table.
 *
 * @param handle       live handle; not NULL
 * @param index_array  indexes in the table, any values; agent-defined (`korvane-agent`: from 0); read during the call;
 *                     not NULL
 * @param count        number of indexes; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `index_array` is NULL, or `count` is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected, after korvane_set_keepalive_intervals().
 */
KORVANE_API int korvane_select_keepalive_intervals(korvane_h handle, const int *index_array, int count);

/**
 * Asks the agent to send a keep-alive now.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; the result arrives at the callback of
 * korvane_set_keepalive_result_cb().
 */
KORVANE_API int korvane_send_keepalive(korvane_h handle);

/**
 * Asks the agent to send the device's presence to the cloud now.
 *
 * @param handle  live handle; not NULL
 * @param state   0: on, 1: inactive; other values are passed on too
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected.
 */
KORVANE_API int korvane_send_presence(korvane_h handle, int state);

/**
 * Called when a keep-alive has ended.
 *
 * @param handle     live handle
 * @param result     result; agent-defined. `korvane-agent`: 0 unless a command chose another value
 * @param user_data  as given to korvane_set_keepalive_result_cb()
 */
typedef void (*korvane_keepalive_result_cb)(korvane_h handle, int result, void *user_data);

/**
 * Registers the callback for the results of keep-alives.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each result, see korvane_keepalive_result_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; korvane_unset_keepalive_result_cb() ends the registration.
 */
KORVANE_API int korvane_set_keepalive_result_cb(korvane_h handle, korvane_keepalive_result_cb callback,
                                                void *user_data);

/**
 * Ends the registration that korvane_set_keepalive_result_cb() made, if there is one, and asks the agent to do the
 * same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_keepalive_result_cb(korvane_h handle);

/**
 * Header fields of the agent's TCP connection to the cloud, as they were at the time of the request. The application
 * owns them from korvane_get_tcp_header_info() to korvane_release_tcp_header_info().
 */
typedef struct korvane_tcp_header_info_s *korvane_tcp_header_info_h;

/**
 * Reads the header fields of the agent's TCP connection to the cloud.
 *
 * @param handle                live handle; not NULL
 * @param[out] tcp_header_info  the fields; release them with korvane_release_tcp_header_info(); not NULL. Set to NULL
 *                              before the agent is asked, and stays NULL if the call fails after that
 *
 * @retval KORVANE_ERROR_NONE               `*tcp_header_info` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `tcp_header_info` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the fields
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, its reply is not a JSON object, or no
 *                                          memory to parse it
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected; read the fields with the getters.
 */
KORVANE_API int korvane_get_tcp_header_info(korvane_h handle, korvane_tcp_header_info_h *tcp_header_info);

/**
 * Releases header fields.
 *
 * @param tcp_header_info  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               released
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `tcp_header_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it once for each successful korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_release_tcp_header_info(korvane_tcp_header_info_h tcp_header_info);

/**
 * Reads the version of the internet protocol.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] ip_version  4 or 6; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*ip_version` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_ip_version(korvane_tcp_header_info_h tcp_header_info, int *ip_version);

/**
 * Reads the source address.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] src_addr    the IP address as text; call free() on it; NULL if the agent sent another JSON type than a
 *                         string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*src_addr` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_src_addr(korvane_tcp_header_info_h tcp_header_info, char **src_addr);

/**
 * Reads the source port.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] src_port    TCP port; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*src_port` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_src_port(korvane_tcp_header_info_h tcp_header_info, int *src_port);

/**
 * Reads the destination address.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] dst_addr    the IP address as text; call free() on it; NULL if the agent sent another JSON type than a
 *                         string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*dst_addr` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_dst_addr(korvane_tcp_header_info_h tcp_header_info, char **dst_addr);

/**
 * Reads the destination port.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] dst_port    TCP port; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*dst_port` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_dst_port(korvane_tcp_header_info_h tcp_header_info, int *dst_port);

/**
 * Reads the sequence number.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] seq_num     the number; a number above 2147483647 is returned as 2147483647; 0 if the agent sent no
 *                         number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*seq_num` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_seq_num(korvane_tcp_header_info_h tcp_header_info, int *seq_num);

/**
 * Reads the acknowledgement number.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] ack_num     the number; a number above 2147483647 is returned as 2147483647; 0 if the agent sent no
 *                         number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*ack_num` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_ack_num(korvane_tcp_header_info_h tcp_header_info, int *ack_num);

/**
 * Reads the window as it appears in the header, before scaling.
 *
 * @param tcp_header_info  header fields; not NULL
 * @param[out] window      the window; a number above 2147483647 is returned as 2147483647; 0 if the agent sent no
 *                         number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*window` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_window(korvane_tcp_header_info_h tcp_header_info, int *window);

/**
 * Reads the window scale.
 *
 * @param tcp_header_info    header fields; not NULL
 * @param[out] window_scale  number of bits by which the window is shifted; 0 if the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*window_scale` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it after korvane_get_tcp_header_info().
 */
KORVANE_API int korvane_tcp_header_info_get_window_scale(korvane_tcp_header_info_h tcp_header_info, int *window_scale);

/** @} */

/**
 * @defgroup korvane_sub_devices Sub-devices and groups
 *
 * A hub represents further devices. It registers them under device numbers from 1 and reports their presence.
 * @code
 * static int register_lamp(korvane_h handle)
 * {
 *     const int lamp[] = {1};
 *     int result = korvane_register_sub_device(handle, lamp[0], "lamp-0001");
 *     return result == KORVANE_ERROR_NONE ? korvane_set_sub_device_presence(handle, lamp, 1, true) : result;
 * }
 *
 * static void print_sub_devices(korvane_h handle)
 * {
 *     korvane_sub_dev_prs_h *list = NULL;
 *     int count = 0;
 *     if (korvane_get_sub_device_presence_list(handle, &list, &count) != KORVANE_ERROR_NONE)
 *         return;
 *     for (int i = 0; i < count; ++i) {
 *         char *id = NULL;
 *         int presence = 0;
 *         if (korvane_get_sub_device_presence(list[i], &id, &presence) == KORVANE_ERROR_NONE)
 *             printf("%s: %d\n", id, presence);
 *         free(id);
 *     }
 *     korvane_release_sub_device_presence_list(list, count);
 * }
 * @endcode
 * @{
 */

/**
 * Registers a sub-device with the agent.
 *
 * @param handle     live handle; not NULL
 * @param device_no  number that the sub-device is to have; above 0
 * @param device_id  id of the sub-device; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `device_id` is NULL, or `device_no` is 0 or negative
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected; korvane_unregister_sub_device() ends it.
 */
KORVANE_API int korvane_register_sub_device(korvane_h handle, int device_no, const char *device_id);

/**
 * Ends the registration of a sub-device with the agent.
 *
 * @param handle     live handle; not NULL
 * @param device_no  number of the sub-device; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `device_no` is 0 or negative
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.1).
 *
 * Lowest agent version: 1.1. Call it while connected, after korvane_register_sub_device().
 */
KORVANE_API int korvane_unregister_sub_device(korvane_h handle, int device_no);

/**
 * Reports to the agent whether sub-devices are present.
 *
 * @param handle          live handle; not NULL
 * @param device_no_list  numbers of the sub-devices; read during the call; not NULL
 * @param device_count    number of elements; above 0
 * @param presence        true if these sub-devices are present
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, `device_no_list` is NULL, or `device_count` is 0 or
 *                                          negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected, after korvane_register_sub_device().
 */
KORVANE_API int korvane_set_sub_device_presence(korvane_h handle, const int *device_no_list, int device_count,
                                                bool presence);

/**
 * The presence (PRS) of one sub-device: an element of the list of korvane_get_sub_device_presence_list(). It is valid
 * until that list is released.
 */
typedef struct korvane_sub_dev_prs_s *korvane_sub_dev_prs_h;

/**
 * Reads the presence of all registered sub-devices.
 *
 * @param handle         live handle; not NULL
 * @param[out] prs_list  array with one element per sub-device; release it with
 *                       korvane_release_sub_device_presence_list(); not NULL
 * @param[out] count     number of elements; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*prs_list` and `*count` are set; `*count` is above 0
 * @retval KORVANE_ERROR_NO_DATA            no sub-device is registered
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `prs_list` or `count` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the list
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, its reply is not such a list, or no
 *                                          memory to parse it
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.6).
 *
 * Lowest agent version: 1.6. Call it while connected; read the elements with korvane_get_sub_device_presence().
 */
KORVANE_API int korvane_get_sub_device_presence_list(korvane_h handle, korvane_sub_dev_prs_h **prs_list, int *count);

/**
 * Reads one element of the list.
 *
 * @param prs             the element; not NULL
 * @param[out] device_id  id of the sub-device; call free() on it; not NULL
 * @param[out] presence   its presence; agent-defined. `korvane-agent`: 1 present, 0 absent; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*device_id` and `*presence` are set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy of the id
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.6).
 *
 * Lowest agent version: 1.6. Call it after korvane_get_sub_device_presence_list().
 */
KORVANE_API int korvane_get_sub_device_presence(korvane_sub_dev_prs_h prs, char **device_id, int *presence);

/**
 * Releases a list with its elements.
 *
 * @param prs_list  the list; not NULL; invalid afterwards
 * @param count     number of elements as korvane_get_sub_device_presence_list() returned it; above 0
 *
 * @retval KORVANE_ERROR_NONE               released
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `prs_list` is NULL, or `count` is 0 or negative; nothing is released
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.6).
 *
 * Lowest agent version: 1.6. Call it once for each list.
 */
KORVANE_API int korvane_release_sub_device_presence_list(korvane_sub_dev_prs_h *prs_list, int count);

/**
 * Called once with the id of the device's group, see korvane_get_group_id().
 *
 * @param handle     live handle
 * @param group_id   the id; valid during the call
 * @param user_data  as given to korvane_get_group_id()
 */
typedef void (*korvane_get_group_id_cb)(korvane_h handle, const char *group_id, void *user_data);

/**
 * Asks the agent for the id of the device's group; the callback receives it.
 *
 * @param handle     live handle; not NULL
 * @param callback   called once with the result, see korvane_get_group_id_cb and @ref korvane_one_shots; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.5).
 *
 * Lowest agent version: 1.5. Call it while connected.
 */
KORVANE_API int korvane_get_group_id(korvane_h handle, korvane_get_group_id_cb callback, void *user_data);

/** @} */

/**
 * @defgroup korvane_hdr Certificates and tokens
 *
 * The agent obtains certificates and tokens from the cloud. "HDR" in these names is the agent's name for that cloud
 * service. All requests are @ref korvane_one_shots "one-shot requests".
 * @code
 * static void on_token(korvane_h handle, int result, korvane_hdr_token_info_h token_info, void *user_data)
 * {
 *     bool *answered = user_data;
 *     *answered = true;
 *     char *url = NULL;
 *     if (result == 0 && token_info)
 *         korvane_hdr_token_info_get_server_url(token_info, &url);
 *     if (url)
 *         printf("log on at %s\n", url);
 *     free(url);
 * }
 *
 * static int request_token(korvane_h handle, bool *answered)
 * {
 *     *answered = false;
 *     return korvane_create_hdr_token_info(handle, on_token, answered);
 * }
 * @endcode
 * @{
 */

/**
 * Called once with the result of korvane_create_hdr_certificate().
 *
 * @param handle     live handle
 * @param result     result code of the agent, passed on unchanged: 0 if the certificate was created, otherwise
 *                   agent-defined
 * @param text       the certificate and its data, or the reason of a failure; agent-defined; valid during the call
 * @param user_data  as given to korvane_create_hdr_certificate()
 */
typedef void (*korvane_create_hdr_certificate_cb)(korvane_h handle, int result, const char *text, void *user_data);

/**
 * Asks the agent for a new certificate of the device; the callback receives it.
 *
 * @param handle       live handle; not NULL
 * @param device_type  type of the device; agent-defined; not NULL
 * @param csr          certificate signing request (CSR); agent-defined (`korvane-agent`: PEM); not NULL
 * @param callback     called once with the result, see korvane_create_hdr_certificate_cb and @ref korvane_one_shots;
 *                     not NULL
 * @param user_data    passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `device_type`, `csr` or `callback` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it while connected.
 */
KORVANE_API int korvane_create_hdr_certificate(korvane_h handle, const char *device_type, const char *csr,
                                               korvane_create_hdr_certificate_cb callback, void *user_data);

/**
 * Called once with the result of korvane_get_hdr_certificate().
 *
 * @param handle     live handle
 * @param result     result code of the agent, passed on unchanged: 0 if the certificate was found, otherwise
 *                   agent-defined
 * @param text1      first text of the event; agent-defined (`korvane-agent`: the certificate in PEM); valid during the
 *                   call
 * @param text2      second text of the event; agent-defined (`korvane-agent`: the chain in PEM); valid during the call
 * @param user_data  as given to korvane_get_hdr_certificate()
 */
typedef void (*korvane_get_hdr_certificate_cb)(korvane_h handle, int result, const char *text1, const char *text2,
                                               void *user_data);

/**
 * Asks the agent for a certificate that was created before; the callback receives it.
 *
 * @param handle           live handle; not NULL
 * @param device_type      type of the device; agent-defined; not NULL
 * @param certificate_arn  name of the certificate (ARN is the agent's word for it); not NULL
 * @param callback         called once with the result, see korvane_get_hdr_certificate_cb and @ref korvane_one_shots;
 *                         not NULL
 * @param user_data        passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `device_type`, `certificate_arn` or `callback` is
 *                                          NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it while connected.
 */
KORVANE_API int korvane_get_hdr_certificate(korvane_h handle, const char *device_type, const char *certificate_arn,
                                            korvane_get_hdr_certificate_cb callback, void *user_data);

/**
 * A token with its data. The library owns it; it is valid during the callback that receives it.
 */
typedef struct korvane_hdr_token_info_s *korvane_hdr_token_info_h;

/**
 * Called once with the result of korvane_create_hdr_token_info().
 *
 * @param handle      live handle
 * @param result      result code of the agent, passed on unchanged: 0 if there is a token, otherwise agent-defined
 * @param token_info  the token; valid during the call; NULL if the agent's text cannot be parsed or there is no memory
 *                    for it
 * @param user_data   as given to korvane_create_hdr_token_info()
 */
typedef void (*korvane_create_hdr_token_info_cb)(korvane_h handle, int result, korvane_hdr_token_info_h token_info,
                                                 void *user_data);

/**
 * Asks the agent for a token; the callback receives it.
 *
 * @param handle     live handle; not NULL
 * @param callback   called once with the result, see korvane_create_hdr_token_info_cb and @ref korvane_one_shots; not
 *                   NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it while connected.
 */
KORVANE_API int korvane_create_hdr_token_info(korvane_h handle, korvane_create_hdr_token_info_cb callback,
                                              void *user_data);

/**
 * Called once with the result of korvane_create_hdr_token_info_custom().
 *
 * @param handle      live handle
 * @param result      result code of the agent, passed on unchanged: 0 if there is a token, otherwise agent-defined
 * @param token_info  the token; valid during the call; NULL if the agent's text cannot be parsed or there is no memory
 *                    for it
 * @param user_data   as given to korvane_create_hdr_token_info_custom()
 */
typedef void (*korvane_create_hdr_token_info_custom_cb)(korvane_h handle, int result,
                                                        korvane_hdr_token_info_h token_info, void *user_data);

/**
 * Asks the agent for a token with request data of the application; the callback receives it.
 *
 * @param handle                 live handle; not NULL
 * @param request_data_json_str  JSON text, passed on unchanged and not parsed; agent-defined; not NULL
 * @param callback               called once with the result, see korvane_create_hdr_token_info_custom_cb and @ref
 *                               korvane_one_shots; not NULL
 * @param user_data              passed to `callback` unchanged; may be NULL; for its lifetime see @ref
 *                               korvane_one_shots
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `request_data_json_str` or `callback` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.3).
 *
 * Lowest agent version: 2.3. Call it while connected.
 */
KORVANE_API int korvane_create_hdr_token_info_custom(korvane_h handle, const char *request_data_json_str,
                                                     korvane_create_hdr_token_info_custom_cb callback, void *user_data);

/**
 * Reads the id (UUID, universally unique identifier) of a token.
 *
 * @param token_info  token that the callback received; not NULL
 * @param[out] uuid   the id; call free() on it; NULL if the agent sent another JSON type than a string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*uuid` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it in the callback that received `token_info`.
 */
KORVANE_API int korvane_hdr_token_info_get_uuid(korvane_hdr_token_info_h token_info, char **uuid);

/**
 * Reads the name of the server that a token is for.
 *
 * @param token_info        token that the callback received; not NULL
 * @param[out] server_name  the name; call free() on it; NULL if the agent sent another JSON type than a string; not
 *                          NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*server_name` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it in the callback that received `token_info`.
 */
KORVANE_API int korvane_hdr_token_info_get_server_name(korvane_hdr_token_info_h token_info, char **server_name);

/**
 * Reads the URL of the server that a token is for.
 *
 * @param token_info       token that the callback received; not NULL
 * @param[out] server_url  the URL; call free() on it; NULL if the agent sent another JSON type than a string; not NULL
 *                         itself
 *
 * @retval KORVANE_ERROR_NONE               `*server_url` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it in the callback that received `token_info`.
 */
KORVANE_API int korvane_hdr_token_info_get_server_url(korvane_hdr_token_info_h token_info, char **server_url);

/**
 * Reads the token itself.
 *
 * @param token_info  token that the callback received; not NULL
 * @param[out] token  the access token, a secret; call free() on it; NULL if the agent sent another JSON type than a
 *                    string; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               `*token` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it in the callback that received `token_info`.
 */
KORVANE_API int korvane_hdr_token_info_get_token(korvane_hdr_token_info_h token_info, char **token);

/**
 * Reads the time at which a token expires.
 *
 * @param token_info            token that the callback received; not NULL
 * @param[out] expiration_time  the time; agent-defined (`korvane-agent`: seconds since 1970-01-01 UTC); a number beyond
 *                              the range of an int is returned as its limit, INT_MAX or INT_MIN; 0 if the agent sent no
 *                              number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*expiration_time` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.1).
 *
 * Lowest agent version: 2.1. Call it in the callback that received `token_info`.
 */
KORVANE_API int korvane_hdr_token_info_get_expiration_time(korvane_hdr_token_info_h token_info, int *expiration_time);

/** @} */

/**
 * @defgroup korvane_push Push messages and diagnostics
 * @code
 * static int report_end(korvane_h handle)
 * {
 *     return korvane_send_custom_push_msg(handle, "{\"title\":\"The laundry is done\"}");
 * }
 * @endcode
 * @{
 */

/**
 * Sends a push message of the application to the user.
 *
 * The library parses the text as JSON and prints the value again, without white space. The agent receives that print,
 * so it differs from the text as follows:
 *  - text after the end of the JSON value is dropped: of `{"a":1} rest` the agent receives `{"a":1}`;
 *  - numbers are stored as double and printed with 15 digits, or with 17 if 15 digits are off by more than 2^-52 of the
 *    number. Integers from -2^52 to 2^52 keep their value; beyond, the last digits may change: 9007199254740993 becomes
 *    9.00719925474099e+15. Their notation may change as well: 1000000000000000 becomes 1e+15;
 *  - a number beyond the range of a double, such as 1e999, becomes null;
 *  - an escape in a string becomes the character itself (`\u0041` becomes A) where JSON allows that; a string ends at
 *    the first `\u0000`;
 *  - members with equal names are all kept, in their order.
 *
 * The value may be of any JSON type; the agent expects an object.
 *
 * @param handle             live handle; not NULL
 * @param push_msg_json_str  the message as JSON text, nested 1000 levels deep at most; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, the text is NULL or does not begin with a JSON value,
 *                                          or no memory to parse it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.0).
 *
 * Lowest agent version: 2.0. Call it while connected.
 */
KORVANE_API int korvane_send_custom_push_msg(korvane_h handle, const char *push_msg_json_str);

/**
 * Called when the cloud asks the device for diagnostics.
 *
 * @param handle     live handle
 * @param value      kind of diagnostics; agent-defined
 * @param text       the request; agent-defined; valid during the call
 * @param user_data  as given to korvane_set_diagnostics_cb()
 */
typedef void (*korvane_diagnostics_cb)(korvane_h handle, int value, const char *text, void *user_data);

/**
 * Registers the callback for requests of diagnostics.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each request, see korvane_diagnostics_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.2).
 *
 * Lowest agent version: 2.2. Call it while connected; korvane_unset_diagnostics_cb() ends the registration.
 */
KORVANE_API int korvane_set_diagnostics_cb(korvane_h handle, korvane_diagnostics_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_diagnostics_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 2.2).
 *
 * Lowest agent version: 2.2. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_diagnostics_cb(korvane_h handle);

/** @} */

/**
 * @defgroup korvane_tnc Terms and conditions
 *
 * "TNC" in these names stands for terms and conditions. The application sends the device's terms to the agent; a
 * callback receives the user's answer.
 * @code
 * static int send_terms(korvane_h handle)
 * {
 *     korvane_tnc_info_h terms = NULL;
 *     int result = korvane_tnc_info_create(&terms);
 *     if (result != KORVANE_ERROR_NONE)
 *         return result;
 *     korvane_tncinfo_set_version(terms, "2024-05");
 *     korvane_tncinfo_set_header(terms, "Terms of use");
 *     result = korvane_set_tnc_info(handle, terms);
 *     korvane_tnc_info_destroy(terms);
 *     return result;
 * }
 * @endcode
 * @{
 */

/**
 * The device's terms. The application owns them from korvane_tnc_info_create() to korvane_tnc_info_destroy().
 */
typedef struct korvane_tnc_info_s *korvane_tnc_info_h;

/**
 * Creates empty terms and conditions.
 *
 * @param[out] tnc_info  the new handle; destroy it with korvane_tnc_info_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               `*tnc_info` is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `tnc_info` is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Fill the handle with the setters, then call korvane_set_tnc_info().
 */
KORVANE_API int korvane_tnc_info_create(korvane_tnc_info_h *tnc_info);

/**
 * Destroys terms and conditions.
 *
 * @param tnc_info  handle; not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `tnc_info` is NULL
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it once for each created handle.
 */
KORVANE_API int korvane_tnc_info_destroy(korvane_tnc_info_h tnc_info);

/**
 * Sets the version of the terms. An earlier text is replaced.
 *
 * @param tnc_info  handle; not NULL
 * @param version   the version, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_tnc_info().
 */
KORVANE_API int korvane_tncinfo_set_version(korvane_tnc_info_h tnc_info, const char *version);

/**
 * Sets the heading of the terms. An earlier text is replaced.
 *
 * @param tnc_info  handle; not NULL
 * @param header    the heading, copied; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the earlier text stays
 * @return Otherwise KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it before korvane_set_tnc_info().
 */
KORVANE_API int korvane_tncinfo_set_header(korvane_tnc_info_h tnc_info, const char *header);

/**
 * Sends the device's terms to the agent.
 *
 * @param handle    live handle; not NULL
 * @param tnc_info  terms, sent as they are at the time of the call; not NULL; stay with the application
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `tnc_info` is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent failed or is not connected, or no memory to print the request
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_SERVICE_UNAVAILABLE (being installed), KORVANE_ERROR_NOT_SUPPORTED (no agent),
 *         KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; then korvane_tnc_info_destroy().
 */
KORVANE_API int korvane_set_tnc_info(korvane_h handle, korvane_tnc_info_h tnc_info);

/**
 * Sends the URL of the terms to the agent.
 *
 * @param handle  live handle; not NULL
 * @param url     the URL; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `url` is NULL
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_set_tnc_url(korvane_h handle, const char *url);

/**
 * Reports to the agent which kinds of terms exist.
 *
 * @param handle  live handle; not NULL
 * @param type    bit mask, any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.4).
 *
 * Lowest agent version: 1.4. Call it while connected.
 */
KORVANE_API int korvane_set_tnc_type(korvane_h handle, unsigned int type);

/**
 * Reports to the agent whether the user has accepted the terms.
 *
 * @param handle  live handle; not NULL
 * @param status  any value; agent-defined
 *
 * @retval KORVANE_ERROR_NONE               the agent accepted it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected.
 */
KORVANE_API int korvane_set_tnc_status(korvane_h handle, int status);

/**
 * Called with the user's answer to the terms.
 *
 * @param handle     live handle
 * @param result     the answer as text; agent-defined; valid during the call
 * @param user_data  as given to korvane_set_tnc_result_cb()
 */
typedef void (*korvane_tnc_result_cb)(korvane_h handle, const char *result, void *user_data);

/**
 * Registers the callback for the user's answer to the terms.
 *
 * @param handle     live handle; not NULL
 * @param callback   called with each answer, see korvane_tnc_result_cb; not NULL
 * @param user_data  passed to `callback` unchanged; may be NULL; for its lifetime see @ref korvane_user_data
 *
 * @retval KORVANE_ERROR_NONE               registered; an earlier registration is replaced
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live, or `callback` is NULL; an earlier registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Call it while connected; korvane_unset_tnc_result_cb() ends the registration.
 */
KORVANE_API int korvane_set_tnc_result_cb(korvane_h handle, korvane_tnc_result_cb callback, void *user_data);

/**
 * Ends the registration that korvane_set_tnc_result_cb() made, if there is one, and asks the agent to do the same.
 *
 * @param handle  live handle; not NULL
 *
 * @retval KORVANE_ERROR_NONE               ended; no callback of this event runs any more
 * @retval KORVANE_ERROR_INVALID_PARAMETER  `handle` is not live; the registration stays
 * @return Otherwise KORVANE_ERROR_IO_ERROR (link failed), KORVANE_ERROR_PERMISSION_DENIED (denied),
 *         KORVANE_ERROR_OPERATION_FAILED (agent failed or not connected), KORVANE_ERROR_SERVICE_UNAVAILABLE (being
 *         installed), KORVANE_ERROR_NOT_SUPPORTED (no agent), KORVANE_ERROR_AGENT_VERSION_LOWER (agent below 1.3).
 *
 * Lowest agent version: 1.3. Results other than a refusal end the registration too, see @ref korvane_user_data.
 */
KORVANE_API int korvane_unset_tnc_result_cb(korvane_h handle);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
