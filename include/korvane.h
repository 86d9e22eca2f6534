/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_H
#define KORVANE_H

/**
 * @file korvane.h
 *
 * Korvane lets a phone set a device up and lets the device live in a home-device cloud. The work is done by a separate
 * agent process; every function here checks its arguments and forwards one request to it. What the agent has to tell
 * comes back as callbacks.
 *
 * Threads: one thread only, the one that runs the application's GLib main loop. Every function is called on it and every
 * callback runs on it, from the main context that was that thread's default in korvane_initialize(). A function that
 * asks the agent blocks until the answer is there, the link breaks, or the platform gives up waiting.
 *
 * Callbacks may call any function, korvane_deinitialize() included. They return in the ordinary way: an exception must not
 * leave a callback, since nothing can be unwound through the library and the process ends.
 *
 * Results: every function returns 0 (KORVANE_ERROR_NONE) or one of the negative codes below. A function that fails
 * leaves its out arguments as they were, where its description says nothing else. The following can come from every
 * function, so the descriptions of the single functions do not repeat them:
 *  - KORVANE_ERROR_NOT_SUPPORTED: the agent is not installed on this device
 *  - KORVANE_ERROR_AGENT_VERSION_LOWER: the installed agent is older than the function's lowest agent version, or
 *    its version cannot be read (functions for every agent version pass then)
 *  - KORVANE_ERROR_INVALID_PARAMETER: the handle is NULL, or no longer or not yet the live one
 * and the following from every function that asks the agent:
 *  - KORVANE_ERROR_SERVICE_UNAVAILABLE: the agent is being replaced by another version at this moment
 *  - KORVANE_ERROR_IO_ERROR: the link to the agent broke during the call; see korvane_set_rpc_io_error_cb()
 *  - KORVANE_ERROR_PERMISSION_DENIED: the agent refused the request
 *  - KORVANE_ERROR_OPERATION_FAILED: the agent answered with another failure, gave no valid answer, or is not connected
 *
 * Memory: text that a function hands out is the caller's, to be freed with free(). Running out of memory has a result
 * code wherever the library itself allocates; GLib's own small allocations end the process, as GLib does.
 */

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define KORVANE_API __attribute__((visibility("default")))
#else
#define KORVANE_API
#endif

/* ------------------------------------------------------------------------------------------------------------------
 * Results, handle, lifecycle
 * ------------------------------------------------------------------------------------------------------------------ */

/** Result codes. The values never change. */
enum korvane_error {
    KORVANE_ERROR_NONE = 0,
    /** An argument is NULL or out of range. */
    KORVANE_ERROR_INVALID_PARAMETER = -22,
    /** The library could not allocate memory. */
    KORVANE_ERROR_OUT_OF_MEMORY = -12,
    /** The agent refused. */
    KORVANE_ERROR_PERMISSION_DENIED = -13,
    /** The link to the agent failed during the call. */
    KORVANE_ERROR_IO_ERROR = -5,
    /** There is nothing to tell: no sub-device is registered. */
    KORVANE_ERROR_NO_DATA = -61,
    /** The agent is not installed on this device (0xC0000002). */
    KORVANE_ERROR_NOT_SUPPORTED = -1073741822,
    /** The agent answered with a failure, or no answer arrived (0xBFFFFFFF). */
    KORVANE_ERROR_OPERATION_FAILED = -1073741825,
    /** The agent is being updated (0xBFFFFFFE). */
    KORVANE_ERROR_SERVICE_UNAVAILABLE = -1073741826,
    /** The installed agent is too old for the function (0xBFFFFFFD). */
    KORVANE_ERROR_AGENT_VERSION_LOWER = -1073741827,
};

/** The library's handle. There is one per process, the library's own from korvane_initialize() to korvane_deinitialize(). */
typedef struct korvane_s *korvane_h;

/** What became of the connection to the agent; the third argument of korvane_connection_status_cb(). */
enum korvane_connection_status {
    /** The agent is reachable: register callbacks, call korvane_start(). */
    KORVANE_CONNECTION_CONNECTED = 0,
    /** The agent went away. The handle stays valid; deinitialise and initialise to connect again. */
    KORVANE_CONNECTION_DISCONNECTED = 1,
    /** The agent refused the connection, or is about to be updated; the result tells the two apart. */
    KORVANE_CONNECTION_REJECTED = 2,
};

/**
 * Called when the connection to the agent comes up, ends or is refused.
 *
 * @param result     0; KORVANE_ERROR_SERVICE_UNAVAILABLE when an update of the agent is the cause (status 1 or 2);
 *                   with status 2 also KORVANE_ERROR_PERMISSION_DENIED when the agent refused this application and
 *                   KORVANE_ERROR_IO_ERROR when the agent could not be reached
 * @param handle     the library's handle
 * @param status     one of enum korvane_connection_status
 * @param user_data  what was given to korvane_initialize()
 */
typedef void (*korvane_connection_status_cb)(int result, korvane_h handle, int status, void *user_data);

/**
 * Called once from the main loop after one or more calls failed with KORVANE_ERROR_IO_ERROR.
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_rpc_io_error_cb()
 */
typedef void (*korvane_rpc_io_error_cb)(korvane_h handle, void *user_data);

/**
 * Called once with the outcome of korvane_start_async().
 *
 * @param handle     the library's handle
 * @param result     the agent's own code: 0 when the service has started
 * @param user_data  what was given to korvane_start_async()
 */
typedef void (*korvane_start_result_cb)(korvane_h handle, int result, void *user_data);

/**
 * Makes the library's handle and begins to connect to the agent, which is started if it is not running. The connection
 * completes on the main loop and is reported to the callback; until then every request fails.
 *
 * @param[out] handle  the handle, the library's until korvane_deinitialize(); NULL on a failure that comes after the
 *                     arguments were found good. A call that is refused because the library is initialised already
 *                     leaves it alone
 * @param callback     told of every change of the connection; may be NULL
 * @param user_data    passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE                 the handle is there, the connection under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER    handle is NULL
 * @retval KORVANE_ERROR_SERVICE_UNAVAILABLE  an update of the agent has begun, or the agent cannot be reached
 * @retval KORVANE_ERROR_OPERATION_FAILED     the library is initialised already, or the connection cannot be prepared
 * @retval KORVANE_ERROR_PERMISSION_DENIED    the platform forbids this application to reach the agent
 * @retval KORVANE_ERROR_OUT_OF_MEMORY        no memory for the handle
 *
 * Lowest agent version: any. Undone by korvane_deinitialize().
 */
KORVANE_API int korvane_initialize(korvane_h *handle, korvane_connection_status_cb callback, void *user_data);

/**
 * Ends the connection and releases the handle with all that belongs to it: registered callbacks, requests that wait for
 * their answer, data that was handed into callbacks. No callback runs afterwards. May be called from any callback.
 *
 * @param handle  the live handle; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               done
 * @retval KORVANE_ERROR_INVALID_PARAMETER  handle is NULL or not the live one
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_deinitialize(korvane_h handle);

/**
 * Asks the agent to start its device service, and waits until it has answered.
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE              the service has started
 * @retval KORVANE_ERROR_OPERATION_FAILED  also: the agent is not connected yet
 *
 * Lowest agent version: any. Call it after the connection was reported.
 */
KORVANE_API int korvane_start(korvane_h handle);

/**
 * Asks the agent to start its device service, and returns as soon as the request is taken; the outcome comes to the
 * callback, once.
 *
 * @param handle     the live handle
 * @param callback   told the outcome; not NULL. It is not called when this function fails, nor after
 *                   korvane_deinitialize()
 * @param user_data  passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_start_async(korvane_h handle, korvane_start_result_cb callback, void *user_data);

/**
 * Asks the agent to stop its device service, and waits until it has answered.
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  the service has stopped
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_stop(korvane_h handle);

/**
 * Sets the callback that is told when a call failed because the link to the agent broke. It runs from the main loop,
 * never inside the failing call; failures that happen before it has run are told once. The agent is not asked.
 *
 * @param handle     the live handle
 * @param callback   not NULL; replaces the one set before
 * @param user_data  passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  callback is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_set_rpc_io_error_cb(korvane_h handle, korvane_rpc_io_error_cb callback, void *user_data);

/**
 * Forgets the callback of korvane_set_rpc_io_error_cb(); fine also when there is none. It is not called afterwards.
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  there is no callback now
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_unset_rpc_io_error_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Events of the agent
 *
 * Each event has a pair of functions. korvane_set_<event>_cb() registers a callback with the agent and replaces the one
 * that was registered before. When it fails, the earlier registration is gone with the agent, while the earlier callback
 * may still be called for an event if the agent has taken the new registration all the same: set again, or unset.
 * korvane_unset_<event>_cb() ends it: no callback of that kind runs after it returns, also when it fails because the
 * agent could not be told, and it may be called when nothing is set. A callback is never NULL and must stay valid until
 * it is replaced or unset. user_data is passed to it as it is and may be NULL.
 *
 * Besides the codes that every function has, setting returns KORVANE_ERROR_INVALID_PARAMETER for a NULL callback.
 * Text and handles that a callback receives belong to the library and are valid during the call only, where the
 * callback's description says nothing else.
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * The agent's setup status has changed.
 *
 * @param handle     the library's handle
 * @param status     the new status, in the agent's own coding
 * @param user_data  what was given to korvane_set_status_changed_cb()
 */
typedef void (*korvane_status_changed_cb)(korvane_h handle, int status, void *user_data);

/** Follows the agent's setup status. Lowest agent version: any. */
KORVANE_API int korvane_set_status_changed_cb(korvane_h handle, korvane_status_changed_cb callback, void *user_data);
/** Ends korvane_set_status_changed_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_status_changed_cb(korvane_h handle);

/**
 * The agent asks for the user's consent to the setup; answer with korvane_send_user_confirm().
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_user_confirm_cb()
 */
typedef void (*korvane_user_confirm_cb)(korvane_h handle, void *user_data);

/** Is told when the user's consent is needed. Lowest agent version: any. */
KORVANE_API int korvane_set_user_confirm_cb(korvane_h handle, korvane_user_confirm_cb callback, void *user_data);
/** Ends korvane_set_user_confirm_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_user_confirm_cb(korvane_h handle);

/**
 * The agent asks whether the device may be reset; answer with korvane_send_reset_confirm().
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_reset_confirm_cb()
 */
typedef void (*korvane_reset_confirm_cb)(korvane_h handle, void *user_data);

/** Is asked before a reset. Lowest agent version: any. */
KORVANE_API int korvane_set_reset_confirm_cb(korvane_h handle, korvane_reset_confirm_cb callback, void *user_data);
/** Ends korvane_set_reset_confirm_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_reset_confirm_cb(korvane_h handle);

/**
 * A reset has ended.
 *
 * @param handle     the library's handle
 * @param result     whether the device was reset
 * @param user_data  what was given to korvane_set_reset_result_cb()
 */
typedef void (*korvane_reset_result_cb)(korvane_h handle, bool result, void *user_data);

/** Is told the outcome of a reset. Lowest agent version: any. */
KORVANE_API int korvane_set_reset_result_cb(korvane_h handle, korvane_reset_result_cb callback, void *user_data);
/** Ends korvane_set_reset_result_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_reset_result_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Core device state and commands
 *
 *     char *id = NULL;
 *     if (korvane_get_device_id(handle, &id) == KORVANE_ERROR_NONE) {
 *         printf("this is %s\n", id);
 *         free(id);
 *     }
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Reads the id under which the agent knows this device.
 *
 * @param handle          the live handle
 * @param[out] device_id  the id, to be freed with free(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *device_id is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  device_id is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_get_device_id(korvane_h handle, char **device_id);

/**
 * Reads whether the device is set up.
 *
 * @param handle       the live handle
 * @param[out] status  the agent's easy-setup flag; not NULL
 *
 * @retval KORVANE_ERROR_NONE               *status is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  status is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_get_easysetup_status(korvane_h handle, bool *status);

/**
 * Asks the agent to reset the device to its state before the setup. The outcome comes to the callback of
 * korvane_set_reset_result_cb().
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the request
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_reset(korvane_h handle);

/**
 * Answers the question of korvane_reset_confirm_cb().
 *
 * @param handle   the live handle
 * @param confirm  whether the device may be reset
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the answer
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_send_reset_confirm(korvane_h handle, bool confirm);

/**
 * Answers the question of korvane_user_confirm_cb().
 *
 * @param handle   the live handle
 * @param confirm  whether the user consents to the setup
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the answer
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_send_user_confirm(korvane_h handle, bool confirm);

/**
 * Tells the agent the device's name and what its Wi-Fi can do.
 *
 * @param handle     the live handle
 * @param dev_name   the name that the phone shows; not NULL
 * @param wifi_mode  Wi-Fi modes, a bit mask in the agent's coding; above 0
 * @param wifi_freq  Wi-Fi frequencies, a bit mask in the agent's coding; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  dev_name is NULL, or a mask is 0 or negative
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_set_device_property(korvane_h handle, const char *dev_name, int wifi_mode, int wifi_freq);

/**
 * As korvane_set_device_property(), with the authentication types that the device's Wi-Fi supports.
 *
 * @param handle                the live handle
 * @param dev_name              the name that the phone shows; not NULL
 * @param wifi_mode             Wi-Fi modes, a bit mask in the agent's coding; above 0
 * @param wifi_freq             Wi-Fi frequencies, a bit mask in the agent's coding; above 0
 * @param wifi_authtype_array   authentication types in the agent's coding, in any order; not NULL
 * @param wifi_authtype_count   how many there are; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  dev_name or the array is NULL, or a number is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.2.
 */
KORVANE_API int korvane_set_device_property_with_wifi_authtype(korvane_h handle, const char *dev_name, int wifi_mode,
                                                               int wifi_freq, const int *wifi_authtype_array,
                                                               int wifi_authtype_count);

/* ------------------------------------------------------------------------------------------------------------------
 * Wi-Fi access point provisioning
 *
 * The phone chooses the access point that the device is to join; its data come to a callback and are read with the
 * getters. Agents since 1.3 also tell candidates.
 *
 *     static void on_ap(korvane_h handle, korvane_ap_info_h ap_info, void *user_data)
 *     {
 *         char *ssid = NULL;
 *         char *pwd = NULL;
 *         if (korvane_apinfo_get_ssid(ap_info, &ssid) == KORVANE_ERROR_NONE &&
 *             korvane_apinfo_get_password(ap_info, &pwd) == KORVANE_ERROR_NONE)
 *             join_network(ssid, pwd);
 *         free(ssid);
 *         free(pwd);
 *     }
 *
 *     korvane_set_wifi_ap_provisioning_cb(handle, on_ap, NULL);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * The access point to join. It is the library's and stays readable after the callback, until the next event of its
 * kind, the next call of korvane_set_wifi_ap_provisioning_cb() or korvane_unset_wifi_ap_provisioning_cb(), or
 * korvane_deinitialize(). The getters refuse it with KORVANE_ERROR_INVALID_PARAMETER when the agent has been updated in
 * between to a version that hands the data over in another form (the forms change with agent 1.3).
 */
typedef struct korvane_ap_info_s *korvane_ap_info_h;

/**
 * The phone has chosen the access point to join.
 *
 * @param handle     the library's handle
 * @param ap_info    the access point; NULL when the agent sent data that cannot be read, or there was no memory for it
 * @param user_data  what was given to korvane_set_wifi_ap_provisioning_cb()
 */
typedef void (*korvane_wifi_ap_provisioning_cb)(korvane_h handle, korvane_ap_info_h ap_info, void *user_data);

/** Is told the access point to join. An access point still held is released. Lowest agent version: any. */
KORVANE_API int korvane_set_wifi_ap_provisioning_cb(korvane_h handle, korvane_wifi_ap_provisioning_cb callback,
                                                    void *user_data);
/**
 * Ends korvane_set_wifi_ap_provisioning_cb(). An access point still held is released. Lowest agent version: any.
 */
KORVANE_API int korvane_unset_wifi_ap_provisioning_cb(korvane_h handle);

/**
 * Reads the network name.
 *
 * @param ap_info    the access point; not NULL
 * @param[out] ssid  the name, to be freed with free(), not necessarily UTF-8; NULL when the agent sent something else
 *                   than text; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               *ssid is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy (agents below 1.3: KORVANE_ERROR_OPERATION_FAILED)
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_apinfo_get_ssid(korvane_ap_info_h ap_info, char **ssid);

/**
 * Reads the password.
 *
 * @param ap_info   the access point; not NULL
 * @param[out] pwd  the password, to be freed with free(); NULL when the agent sent something else than text; not NULL
 *                  itself
 *
 * @retval KORVANE_ERROR_NONE               *pwd is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy (agents below 1.3: KORVANE_ERROR_OPERATION_FAILED)
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_apinfo_get_password(korvane_ap_info_h ap_info, char **pwd);

/**
 * Reads the authentication type.
 *
 * @param ap_info        the access point; not NULL
 * @param[out] authtype  the type in the agent's coding, 0 when the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               *authtype is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_apinfo_get_authtype(korvane_ap_info_h ap_info, int *authtype);

/**
 * Reads the encryption type.
 *
 * @param ap_info       the access point; not NULL
 * @param[out] enctype  the type in the agent's coding, 0 when the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               *enctype is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_apinfo_get_enctype(korvane_ap_info_h ap_info, int *enctype);

/**
 * Reads the radio channel.
 *
 * @param ap_info       the access point; not NULL
 * @param[out] channel  the channel's number, 0 when the agent sent no number; not NULL
 *
 * @retval KORVANE_ERROR_NONE               *channel is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_apinfo_get_channel(korvane_ap_info_h ap_info, int *channel);

/**
 * Reads the access points that the device may try as well.
 *
 * @param ap_info                 the access point; not NULL
 * @param[out] candidate_ap_json  a JSON text of the agent's, to be freed with free(); NULL when the agent sent
 *                                something else than text; not NULL itself
 *
 * @retval KORVANE_ERROR_NONE               *candidate_ap_json is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_apinfo_get_candidate_ap(korvane_ap_info_h ap_info, char **candidate_ap_json);

/**
 * Reads the access point's hardware address.
 *
 * @param ap_info     the access point; not NULL
 * @param[out] bssid  the address, to be freed with free(); NULL when the agent sent something else than text; not NULL
 *                    itself
 *
 * @retval KORVANE_ERROR_NONE               *bssid is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent did not send it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_apinfo_get_bssid(korvane_ap_info_h ap_info, char **bssid);

/* ------------------------------------------------------------------------------------------------------------------
 * Access point scan list
 *
 * The phone asks for the access points that the device sees; the application scans, fills a list and answers with it.
 *
 *     static void on_scan(korvane_h handle, int req_id, void *user_data)
 *     {
 *         korvane_aplist_h list = NULL;
 *         if (korvane_aplist_create(&list, 1) != KORVANE_ERROR_NONE)
 *             return;
 *         korvane_aplist_set_ssid(list, 0, "home");
 *         korvane_aplist_set_channel(list, 0, 6);
 *         korvane_aplist_set_signal_level(list, 0, -48);
 *         korvane_send_ap_list(handle, list, req_id);
 *         korvane_aplist_destroy(list);
 *     }
 *
 *     korvane_set_scan_ap_cb(handle, on_scan, NULL);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * The phone asks for a scan; answer with korvane_send_ap_list(), now or later.
 *
 * @param handle     the library's handle
 * @param req_id     names the request in the answer
 * @param user_data  what was given to korvane_set_scan_ap_cb()
 */
typedef void (*korvane_scan_ap_cb)(korvane_h handle, int req_id, void *user_data);

/** Is asked for scans. Lowest agent version: any. */
KORVANE_API int korvane_set_scan_ap_cb(korvane_h handle, korvane_scan_ap_cb callback, void *user_data);
/** Ends korvane_set_scan_ap_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_scan_ap_cb(korvane_h handle);

/**
 * A list of access points, the application's from korvane_aplist_create() to korvane_aplist_destroy(). It is made in
 * the form that the installed agent takes: setters and korvane_send_ap_list() refuse it with
 * KORVANE_ERROR_INVALID_PARAMETER when the agent has been updated in between to a version of another form (the forms
 * change with agent 2.3).
 */
typedef struct korvane_aplist_s *korvane_aplist_h;

/**
 * Makes a list of empty entries.
 *
 * @param[out] list  the list, to be destroyed with korvane_aplist_destroy(); not NULL
 * @param count      how many entries it has; above 0
 *
 * @retval KORVANE_ERROR_NONE               *list is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  list is NULL or count is 0; count is negative (agents since 2.3)
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the list, or more entries than could be sent (524288); count
 *                                          is negative (agents below 2.3)
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_create(korvane_aplist_h *list, int count);

/**
 * Releases a list, of whatever form.
 *
 * @param list  the list; not NULL, invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               released
 * @retval KORVANE_ERROR_INVALID_PARAMETER  list is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_destroy(korvane_aplist_h list);

/**
 * Sets the network name of an entry. All setters of a list replace what was set before and fail in the same cases.
 *
 * @param list  the list; not NULL
 * @param idx   the entry, from 0 to the list's count minus 1
 * @param ssid  the name, copied; any bytes but NUL; not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  list or text is NULL, idx is out of range, or the agent was updated to one
 *                                          of another form; the list is unchanged
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the value
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_ssid(korvane_aplist_h list, int idx, const char *ssid);

/**
 * Sets the hardware address of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list   the list; not NULL
 * @param idx    the entry, from 0 to the list's count minus 1
 * @param bssid  the address, copied; not NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_bssid(korvane_aplist_h list, int idx, const char *bssid);

/**
 * Sets the authentication type of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list      the list; not NULL
 * @param idx       the entry, from 0 to the list's count minus 1
 * @param authtype  any value, in the agent's coding
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_authtype(korvane_aplist_h list, int idx, int authtype);

/**
 * Sets the encryption type of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list     the list; not NULL
 * @param idx      the entry, from 0 to the list's count minus 1
 * @param enctype  any value, in the agent's coding
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_enctype(korvane_aplist_h list, int idx, int enctype);

/**
 * Sets the radio channel of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list     the list; not NULL
 * @param idx      the entry, from 0 to the list's count minus 1
 * @param channel  the channel's number; any value is passed on
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_channel(korvane_aplist_h list, int idx, int channel);

/**
 * Sets the signal level of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list          the list; not NULL
 * @param idx           the entry, from 0 to the list's count minus 1
 * @param signal_level  in the agent's unit; any value is passed on
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_signal_level(korvane_aplist_h list, int idx, int signal_level);

/**
 * Sets the highest data rate of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list      the list; not NULL
 * @param idx       the entry, from 0 to the list's count minus 1
 * @param max_rate  in the agent's unit; any value is passed on
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_aplist_set_max_rate(korvane_aplist_h list, int idx, int max_rate);

/**
 * Sets the radio frequency of an entry. Fails as korvane_aplist_set_ssid() does.
 *
 * @param list       the list; not NULL
 * @param idx        the entry, from 0 to the list's count minus 1
 * @param frequency  in the agent's unit; any value is passed on
 *
 * Lowest agent version: 2.3.
 */
KORVANE_API int korvane_aplist_set_frequency(korvane_aplist_h list, int idx, int frequency);

/**
 * Answers the question of korvane_scan_ap_cb().
 *
 * @param handle  the live handle
 * @param list    what the scan has found; not NULL. It stays the application's. Send a list once: with agents since 2.3
 *                the request's number stays in it
 * @param req_id  the number that came with the question
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken the answer
 * @retval KORVANE_ERROR_INVALID_PARAMETER  list is NULL, or the agent was updated to one of another form
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_send_ap_list(korvane_h handle, korvane_aplist_h list, int req_id);

/* ------------------------------------------------------------------------------------------------------------------
 * Device provisioning data
 *
 *     static void on_data(korvane_h handle, korvane_device_prov_info_h info, void *user_data)
 *     {
 *         char *language = NULL;
 *         if (korvane_devinfo_get_language(info, &language) == KORVANE_ERROR_NONE)
 *             store_language(language);
 *         free(language);
 *     }
 *
 *     korvane_set_device_provisioning_cb(handle, on_data, NULL);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * What the phone tells the device about its user and place. It is the library's and stays readable after the callback,
 * until the next event of its kind, the next call of korvane_set_device_provisioning_cb() or
 * korvane_unset_device_provisioning_cb(), or korvane_deinitialize().
 */
typedef struct korvane_device_prov_info_s *korvane_device_prov_info_h;

/**
 * The phone has sent the device's provisioning data.
 *
 * @param handle     the library's handle
 * @param info       the data; never NULL: an event for whose data there is no memory is not delivered
 * @param user_data  what was given to korvane_set_device_provisioning_cb()
 */
typedef void (*korvane_device_provisioning_cb)(korvane_h handle, korvane_device_prov_info_h info, void *user_data);

/** Is told the provisioning data. Data still held are released. Lowest agent version: any. */
KORVANE_API int korvane_set_device_provisioning_cb(korvane_h handle, korvane_device_provisioning_cb callback,
                                                   void *user_data);
/** Ends korvane_set_device_provisioning_cb(). Data still held are released. Lowest agent version: any. */
KORVANE_API int korvane_unset_device_provisioning_cb(korvane_h handle);

/**
 * Reads the user's language.
 *
 * @param info           the data; not NULL
 * @param[out] language  the text, empty when the phone sent none, to be freed with free(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *language is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy, or the data have been released
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_devinfo_get_language(korvane_device_prov_info_h info, char **language);

/**
 * Reads the country.
 *
 * @param info          the data; not NULL
 * @param[out] country  the text, empty when the phone sent none, to be freed with free(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *country is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy, or the data have been released
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_devinfo_get_country(korvane_device_prov_info_h info, char **country);

/**
 * Reads date and time.
 *
 * @param info           the data; not NULL
 * @param[out] datetime  the text, empty when the phone sent none, to be freed with free(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *datetime is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy, or the data have been released
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_devinfo_get_datetime(korvane_device_prov_info_h info, char **datetime);

/**
 * Reads which mobile device registers this one.
 *
 * @param info      the data; not NULL
 * @param[out] rmd  the text, empty when the phone sent none, to be freed with free(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *rmd is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   no memory for the copy, or the data have been released
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_devinfo_get_regist_mobile_device(korvane_device_prov_info_h info, char **rmd);

/* ------------------------------------------------------------------------------------------------------------------
 * PINs, soft access point, switches
 *
 * A PIN lets the user confirm that the right device is being set up.
 *
 *     static void on_pin(korvane_h handle, const char *pin, int value, void *user_data) { show_on_display(pin); }
 *     static void on_pin_closed(korvane_h handle, void *user_data) { clear_display(); }
 *
 *     korvane_set_pin_cb(handle, on_pin, on_pin_closed, NULL);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * The agent has generated a PIN that the device is to show.
 *
 * @param handle     the library's handle
 * @param pin        the PIN, valid during the call only
 * @param value      a number that the agent sends along, in its own coding
 * @param user_data  what was given to korvane_set_pin_cb()
 */
typedef void (*korvane_pin_generated_cb)(korvane_h handle, const char *pin, int value, void *user_data);

/**
 * The PIN need not be shown any longer.
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_pin_cb()
 */
typedef void (*korvane_pin_display_closed_cb)(korvane_h handle, void *user_data);

/** Is told when to show a PIN and when to stop; neither callback may be NULL. Lowest agent version: any. */
KORVANE_API int korvane_set_pin_cb(korvane_h handle, korvane_pin_generated_cb generated,
                                   korvane_pin_display_closed_cb display_closed, void *user_data);
/** Ends korvane_set_pin_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_pin_cb(korvane_h handle);

/**
 * The agent has generated a PIN that the device is to play as ultrasound.
 *
 * @param handle     the library's handle
 * @param pin        the PIN, valid during the call only
 * @param value      a number that the agent sends along, in its own coding
 * @param user_data  what was given to korvane_set_ultrasound_pin_cb()
 */
typedef void (*korvane_ultrasound_pin_generated_cb)(korvane_h handle, const char *pin, int value, void *user_data);

/**
 * The PIN need not be played any longer.
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_ultrasound_pin_cb()
 */
typedef void (*korvane_ultrasound_pin_stopped_cb)(korvane_h handle, void *user_data);

/** Is told when to play a PIN and when to stop; neither callback may be NULL. Lowest agent version: 1.1. */
KORVANE_API int korvane_set_ultrasound_pin_cb(korvane_h handle, korvane_ultrasound_pin_generated_cb generated,
                                              korvane_ultrasound_pin_stopped_cb stopped, void *user_data);
/** Ends korvane_set_ultrasound_pin_cb(). Lowest agent version: 1.1. */
KORVANE_API int korvane_unset_ultrasound_pin_cb(korvane_h handle);

/**
 * Gives the agent a PIN of the application's own making, for the setup that is under way.
 *
 * @param handle  the live handle
 * @param pin     the PIN; not NULL, not empty
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  pin is NULL or empty
 *
 * Lowest agent version: 1.4. Undone by korvane_unset_random_pin().
 */
KORVANE_API int korvane_set_random_pin(korvane_h handle, const char *pin);

/**
 * Takes the PIN of korvane_set_random_pin() back.
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  the agent has forgotten it
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_unset_random_pin(korvane_h handle);

/**
 * Gives the agent a PIN that does not change, printed on the device for instance.
 *
 * @param handle  the live handle
 * @param pin     the PIN, any text; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  pin is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_set_preconfigured_pin(korvane_h handle, const char *pin);

/**
 * The agent's soft access point is to be stopped.
 *
 * @param handle     the library's handle
 * @param user_data  what was given to korvane_set_stop_soft_ap_cb()
 */
typedef void (*korvane_stop_soft_ap_cb)(korvane_h handle, void *user_data);

/** Is told when the soft access point is to be stopped. Lowest agent version: any. */
KORVANE_API int korvane_set_stop_soft_ap_cb(korvane_h handle, korvane_stop_soft_ap_cb callback, void *user_data);
/** Ends korvane_set_stop_soft_ap_cb(). Lowest agent version: any. */
KORVANE_API int korvane_unset_stop_soft_ap_cb(korvane_h handle);

/**
 * Switches the agent's MOT status.
 *
 * @param handle  the live handle
 * @param enable  on or off
 *
 * @retval KORVANE_ERROR_NONE  the agent has switched
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_set_mot_status(korvane_h handle, bool enable);

/**
 * Switches the agent's setup over Bluetooth Low Energy (GATT).
 *
 * @param handle  the live handle
 * @param enable  on or off
 *
 * @retval KORVANE_ERROR_NONE  the agent has switched
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_gatt_ble(korvane_h handle, bool enable);

/* ------------------------------------------------------------------------------------------------------------------
 * Provisioning extras
 *
 *     static void on_language(korvane_h handle, unsigned int req_id, const char *type, const char *value,
 *                             void *user_data)
 *     {
 *         bool known = use_language(value);
 *         korvane_send_provisioning_language_setting_result(handle, req_id, known);
 *     }
 *
 *     const char *const languages[] = {"en-GB", "ko-KR"};
 *     korvane_set_provisioning_language_cb(handle, on_language, NULL);
 *     korvane_set_language_list(handle, languages, 2);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Tells the agent the languages that the device can be used in.
 *
 * @param handle         the live handle
 * @param language_list  the languages, copied; neither the list nor any of its texts is NULL
 * @param count          how many there are; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the list or a text is NULL, or count is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_language_list(korvane_h handle, const char *const *language_list, int count);

/**
 * Answers the request of korvane_provisioning_language_cb().
 *
 * @param handle  the live handle
 * @param req_id  the number that came with the request
 * @param result  whether the device has changed to the language
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the answer
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_send_provisioning_language_setting_result(korvane_h handle, unsigned int req_id, bool result);

/**
 * Gives the agent provisioning data of the vendor's own.
 *
 * @param handle         the live handle
 * @param prov_json_str  a JSON text in the agent's format, passed on as it is; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  prov_json_str is NULL
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_provisioning_vendor_info(korvane_h handle, const char *prov_json_str);

/**
 * Tells the agent why the access point could not be joined, so that the phone can say it.
 *
 * @param handle      the live handle
 * @param error_code  in the agent's coding; any value is passed on
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken it
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_wifi_connection_error_code(korvane_h handle, int error_code);

/**
 * Gives the agent the single-sign-on list.
 *
 * @param handle    the live handle
 * @param sso_list  a text in the agent's format, passed on as it is; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  sso_list is NULL
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_sso_list(korvane_h handle, const char *sso_list);

/**
 * Tells the agent the application's easy-setup version.
 *
 * @param handle           the live handle
 * @param es_version_info  a text in the agent's format, passed on as it is; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  es_version_info is NULL
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_easysetup_version_info(korvane_h handle, const char *es_version_info);

/**
 * The phone wants the device to change its language; answer with korvane_send_provisioning_language_setting_result().
 *
 * @param handle     the library's handle
 * @param req_id     names the request in the answer
 * @param type       the first of the request's two texts, valid during the call only
 * @param value      the second one, likewise
 * @param user_data  what was given to korvane_set_provisioning_language_cb()
 */
typedef void (*korvane_provisioning_language_cb)(korvane_h handle, unsigned int req_id, const char *type,
                                                 const char *value, void *user_data);

/** Is asked to change the language. Lowest agent version: 1.3. */
KORVANE_API int korvane_set_provisioning_language_cb(korvane_h handle, korvane_provisioning_language_cb callback,
                                                     void *user_data);
/** Ends korvane_set_provisioning_language_cb(). Lowest agent version: 1.3. */
KORVANE_API int korvane_unset_provisioning_language_cb(korvane_h handle);

/**
 * The phone has sent provisioning data of the vendor's own.
 *
 * @param handle     the library's handle
 * @param value      a number in the agent's coding
 * @param text       the data, valid during the call only
 * @param user_data  what was given to korvane_set_provisioning_vendor_info_cb()
 */
typedef void (*korvane_provisioning_vendor_info_cb)(korvane_h handle, int value, const char *text, void *user_data);

/** Is told the vendor's data. Lowest agent version: 1.3. */
KORVANE_API int korvane_set_provisioning_vendor_info_cb(korvane_h handle, korvane_provisioning_vendor_info_cb callback,
                                                        void *user_data);
/** Ends korvane_set_provisioning_vendor_info_cb(). Lowest agent version: 1.3. */
KORVANE_API int korvane_unset_provisioning_vendor_info_cb(korvane_h handle);

/**
 * The agent tells which on-boarding feature is used.
 *
 * @param handle     the library's handle
 * @param feature    in the agent's coding
 * @param user_data  what was given to korvane_set_otm_support_feature_cb()
 */
typedef void (*korvane_otm_support_feature_cb)(korvane_h handle, int feature, void *user_data);

/** Is told the on-boarding feature. Lowest agent version: 1.3. */
KORVANE_API int korvane_set_otm_support_feature_cb(korvane_h handle, korvane_otm_support_feature_cb callback,
                                                   void *user_data);
/** Ends korvane_set_otm_support_feature_cb(). Lowest agent version: 1.3. */
KORVANE_API int korvane_unset_otm_support_feature_cb(korvane_h handle);

/**
 * The agent asks for provisioning data.
 *
 * @param handle     the library's handle
 * @param text       what it asks for, valid during the call only
 * @param value      a number in the agent's coding
 * @param user_data  what was given to korvane_set_provisioning_get_requested_cb()
 */
typedef void (*korvane_provisioning_get_requested_cb)(korvane_h handle, const char *text, int value, void *user_data);

/** Is asked for provisioning data. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_provisioning_get_requested_cb(korvane_h handle,
                                                          korvane_provisioning_get_requested_cb callback,
                                                          void *user_data);
/** Ends korvane_set_provisioning_get_requested_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_provisioning_get_requested_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Cloud sign-up and session
 *
 *     korvane_cloud_info_h info = NULL;
 *     if (korvane_cloudinfo_create(&info) == KORVANE_ERROR_NONE) {
 *         korvane_cloudinfo_set_access_token(info, token);
 *         korvane_cloudinfo_set_user_id(info, user);
 *         int result = korvane_sign_up_cloud(handle, info);
 *         korvane_cloudinfo_destroy(info);
 *     }
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * The credentials for a sign-up: the application's, from korvane_cloudinfo_create() to korvane_cloudinfo_destroy().
 * They are made for the installed agent: after an update of the agent across version 2.0 they can only be destroyed, and
 * every other function refuses them with KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_cloud_info_s *korvane_cloud_info_h;

/**
 * Makes empty credentials.
 *
 * @param[out] cloud_info  the new handle, to be destroyed with korvane_cloudinfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *cloud_info is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  cloud_info is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_cloudinfo_create(korvane_cloud_info_h *cloud_info);

/**
 * Destroys credentials, those made for another agent version included.
 *
 * @param cloud_info  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  cloud_info is NULL
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_cloudinfo_destroy(korvane_cloud_info_h cloud_info);

/**
 * Sets the region of the account. Like all text setters of credentials it copies the text and replaces the one set
 * before.
 *
 * @param cloud_info  not NULL
 * @param region      not NULL
 *
 * @retval KORVANE_ERROR_NONE               set. For agents before 2.0 also when there was no memory for the copy; the
 *                                          log tells, and the text is then not there
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the handle was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays (agents from 2.0 on)
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_cloudinfo_set_region(korvane_cloud_info_h cloud_info, const char *region);

/**
 * Sets who has authenticated the user. Copying, results and versions as korvane_cloudinfo_set_region().
 *
 * @param cloud_info     not NULL
 * @param auth_provider  not NULL
 */
KORVANE_API int korvane_cloudinfo_set_auth_provider(korvane_cloud_info_h cloud_info, const char *auth_provider);

/**
 * Sets the token that gives access to the account. Copying, results and versions as korvane_cloudinfo_set_region().
 *
 * @param cloud_info    not NULL
 * @param access_token  not NULL
 */
KORVANE_API int korvane_cloudinfo_set_access_token(korvane_cloud_info_h cloud_info, const char *access_token);

/**
 * Sets the token that renews the access token. Copying, results and versions as korvane_cloudinfo_set_region().
 *
 * @param cloud_info     not NULL
 * @param refresh_token  not NULL
 */
KORVANE_API int korvane_cloudinfo_set_refresh_token(korvane_cloud_info_h cloud_info, const char *refresh_token);

/**
 * Sets the user of the account. Copying, results and versions as korvane_cloudinfo_set_region().
 *
 * @param cloud_info  not NULL
 * @param user_id     not NULL
 */
KORVANE_API int korvane_cloudinfo_set_user_id(korvane_cloud_info_h cloud_info, const char *user_id);

/**
 * Sets the id of the client that got the tokens. Copying, results and versions as korvane_cloudinfo_set_region().
 *
 * @param cloud_info  not NULL
 * @param client_id   not NULL
 */
KORVANE_API int korvane_cloudinfo_set_client_id(korvane_cloud_info_h cloud_info, const char *client_id);

/**
 * Sets the cloud interface server to sign up with; replaces the one set before.
 *
 * @param cloud_info  not NULL
 * @param ci_server   not NULL; copied
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the handle was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_cloudinfo_set_cloud_interface_server(korvane_cloud_info_h cloud_info, const char *ci_server);

/**
 * Sets the deployment of the cloud to sign up with; replaces the one set before.
 *
 * @param cloud_info  not NULL
 * @param deploy_env  not NULL; copied
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the handle was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_cloudinfo_set_deploy_environment(korvane_cloud_info_h cloud_info, const char *deploy_env);

/**
 * Adds the type of the tokens. Unlike the other setters it replaces nothing: call it once.
 *
 * @param cloud_info  not NULL
 * @param type        in the agent's coding, any value
 *
 * @retval KORVANE_ERROR_NONE               added
 * @retval KORVANE_ERROR_INVALID_PARAMETER  cloud_info is NULL or was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the handle is as before
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_cloudinfo_set_token_type(korvane_cloud_info_h cloud_info, unsigned int type);

/**
 * Asks the agent to sign the device up to the cloud. What becomes of it comes to the callback of
 * korvane_set_signup_status_changed_cb().
 *
 * @param handle      the live handle
 * @param cloud_info  the credentials, sent as they are now; not NULL. They stay the application's and can be used
 *                    again; towards agents from 2.0 on they keep the command of this request among their members
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken the request
 * @retval KORVANE_ERROR_INVALID_PARAMETER  cloud_info is NULL or was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: any.
 */
KORVANE_API int korvane_sign_up_cloud(korvane_h handle, korvane_cloud_info_h cloud_info);

/**
 * Switches the sign-in to the cloud off or on again.
 *
 * @param handle   the live handle
 * @param disable  true: the device does not sign in; false: it may
 *
 * @retval KORVANE_ERROR_NONE              the agent has taken it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY     no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED  also: no memory for the request's text
 *
 * Lowest agent version: 2.2.
 */
KORVANE_API int korvane_disable_signin(korvane_h handle, bool disable);

/**
 * Asks the agent to end its session with the cloud.
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the request
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_disconnect_cloud_session(korvane_h handle);

/**
 * Reads whether the device is signed in to the cloud.
 *
 * @param handle             the live handle
 * @param[out] is_signed_in  not NULL
 *
 * @retval KORVANE_ERROR_NONE               *is_signed_in is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  is_signed_in is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_get_signin_status(korvane_h handle, bool *is_signed_in);

/**
 * Reads whether the device is signed up to the cloud.
 *
 * @param handle             the live handle
 * @param[out] is_signed_up  not NULL
 *
 * @retval KORVANE_ERROR_NONE               *is_signed_up is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  is_signed_up is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_get_signup_status(korvane_h handle, bool *is_signed_up);

/**
 * Reads the agent's view of the device's state.
 *
 * @param handle       the live handle
 * @param[out] status  in the agent's coding; not NULL
 *
 * @retval KORVANE_ERROR_NONE               *status is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  status is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_get_thing_status(korvane_h handle, int *status);

/**
 * The device was signed in to the cloud or out of it.
 *
 * @param handle     the library's handle
 * @param status     whether it is signed in now
 * @param user_data  what was given to korvane_set_signin_status_changed_cb()
 */
typedef void (*korvane_signin_status_changed_cb)(korvane_h handle, bool status, void *user_data);

/** Follows the sign-in. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_signin_status_changed_cb(korvane_h handle, korvane_signin_status_changed_cb callback,
                                                     void *user_data);
/** Ends korvane_set_signin_status_changed_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_signin_status_changed_cb(korvane_h handle);

/**
 * The device was signed up to the cloud or its sign-up was ended.
 *
 * @param handle     the library's handle
 * @param status     whether it is signed up now
 * @param user_data  what was given to korvane_set_signup_status_changed_cb()
 */
typedef void (*korvane_signup_status_changed_cb)(korvane_h handle, bool status, void *user_data);

/** Follows the sign-up. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_signup_status_changed_cb(korvane_h handle, korvane_signup_status_changed_cb callback,
                                                     void *user_data);
/** Ends korvane_set_signup_status_changed_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_signup_status_changed_cb(korvane_h handle);

/**
 * The agent's TCP session with the cloud has ended.
 *
 * @param handle           the library's handle
 * @param last_error_code  why, in the agent's coding
 * @param user_data        what was given to korvane_set_tcp_session_disconnected_cb()
 */
typedef void (*korvane_tcp_session_disconnected_cb)(korvane_h handle, int last_error_code, void *user_data);

/** Is told when the TCP session with the cloud ends. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_tcp_session_disconnected_cb(korvane_h handle, korvane_tcp_session_disconnected_cb callback,
                                                        void *user_data);
/** Ends korvane_set_tcp_session_disconnected_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_tcp_session_disconnected_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Who the device is
 *
 * A device number tells apart the devices behind one agent: 0 is the device itself, sub-devices are numbered from 1.
 *
 *     korvane_platform_info_h info = NULL;
 *     if (korvane_platforminfo_create(&info) == KORVANE_ERROR_NONE) {
 *         korvane_platforminfo_set_model_number(info, "WM-7");
 *         korvane_platforminfo_set_platform_version(info, "4.1");
 *         korvane_set_platform_info(handle, info);
 *         korvane_platforminfo_destroy(info);
 *     }
 *     korvane_set_nick_name(handle, 0, "Washer in the cellar");
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Data about the device's make: the application's, from korvane_platforminfo_create() to
 * korvane_platforminfo_destroy(). It is made for the installed agent: after an update of the agent across version 1.2
 * it can only be destroyed, and every other function refuses it with KORVANE_ERROR_INVALID_PARAMETER.
 */
typedef struct korvane_platform_info_s *korvane_platform_info_h;

/**
 * Makes empty platform data.
 *
 * @param[out] platform_info  the new handle, to be destroyed with korvane_platforminfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *platform_info is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  platform_info is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_platforminfo_create(korvane_platform_info_h *platform_info);

/**
 * Destroys platform data, that made for another agent version included.
 *
 * @param platform_info  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  platform_info is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_platforminfo_destroy(korvane_platform_info_h platform_info);

/**
 * Sets the model number. As all setters of platform data it copies the text and replaces the one set before.
 *
 * @param platform_info  not NULL
 * @param model_number   not NULL
 *
 * @retval KORVANE_ERROR_NONE               set. For agents of version 1.1 also when there was no memory for the copy;
 *                                          the log tells, and the text is then not there
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL, or the handle was made for another agent version
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays (agents from 1.2 on)
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_platforminfo_set_model_number(korvane_platform_info_h platform_info, const char *model_number);

/**
 * Sets the version of the device's platform. Copying and results as korvane_platforminfo_set_model_number().
 *
 * @param platform_info     not NULL
 * @param platform_version  not NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_platforminfo_set_platform_version(korvane_platform_info_h platform_info,
                                                          const char *platform_version);

/**
 * Sets the vendor's id. Copying and results as korvane_platforminfo_set_model_number().
 *
 * @param platform_info  not NULL
 * @param vid            not NULL
 *
 * Lowest agent version: 1.2.
 */
KORVANE_API int korvane_platforminfo_set_vendor_id(korvane_platform_info_h platform_info, const char *vid);

/**
 * Sets the date of manufacture. Copying and results as korvane_platforminfo_set_model_number().
 *
 * @param platform_info  not NULL
 * @param mf_date        not NULL; in the agent's format
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_platforminfo_set_manufacture_date(korvane_platform_info_h platform_info, const char *mf_date);

/**
 * Sets the version of the firmware. Copying and results as korvane_platforminfo_set_model_number().
 *
 * @param platform_info     not NULL
 * @param firmware_version  not NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_platforminfo_set_firmware_version(korvane_platform_info_h platform_info,
                                                          const char *firmware_version);

/**
 * Tells the agent the platform data of the device itself.
 *
 * @param handle         the live handle
 * @param platform_info  sent as it is now; not NULL. It stays the application's
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  platform_info is NULL or was made for another agent version
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_set_platform_info(korvane_h handle, korvane_platform_info_h platform_info);

/**
 * Tells the agent the platform data of one device.
 *
 * @param handle         the live handle
 * @param platform_info  sent as it is now; not NULL. It stays the application's
 * @param device_no      device number, 0 or above
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  platform_info is NULL or was made for another agent version, or the number
 *                                          is negative
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 1.2.
 */
KORVANE_API int korvane_set_platform_info_with_device_no(korvane_h handle, korvane_platform_info_h platform_info,
                                                         int device_no);

/**
 * The device's last status: the application's, from korvane_laststatusinfo_create() to
 * korvane_laststatusinfo_destroy().
 */
typedef struct korvane_last_status_info_s *korvane_last_status_info_h;

/**
 * Makes an empty last status: time 0, no error code.
 *
 * @param[out] last_status_info  the new handle, to be destroyed with korvane_laststatusinfo_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *last_status_info is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  last_status_info is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_laststatusinfo_create(korvane_last_status_info_h *last_status_info);

/**
 * Destroys a last status.
 *
 * @param last_status_info  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  last_status_info is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_laststatusinfo_destroy(korvane_last_status_info_h last_status_info);

/**
 * Sets when the status arose.
 *
 * @param last_status_info  not NULL
 * @param timestamp         in the agent's coding, any value
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  last_status_info is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_laststatusinfo_set_timestamp(korvane_last_status_info_h last_status_info, int timestamp);

/**
 * Sets the error code; replaces the one set before.
 *
 * @param last_status_info  not NULL
 * @param error_code        not NULL; copied
 *
 * @retval KORVANE_ERROR_NONE               set; also when there was no memory for the copy: the log tells, and there is
 *                                          no error code then
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_laststatusinfo_set_error_code(korvane_last_status_info_h last_status_info,
                                                      const char *error_code);

/**
 * Tells the agent the device's last status.
 *
 * @param handle            the live handle
 * @param last_status_info  not NULL; stays the application's
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  last_status_info is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_set_last_status_info(korvane_h handle, korvane_last_status_info_h last_status_info);

/**
 * The device's last status has changed at the agent.
 *
 * @param handle       the library's handle
 * @param last_status  in the agent's form, valid during the call only
 * @param user_data    what was given to korvane_set_last_status_changed_cb()
 */
typedef void (*korvane_last_status_changed_cb)(korvane_h handle, const char *last_status, void *user_data);

/** Follows the last status. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_last_status_changed_cb(korvane_h handle, korvane_last_status_changed_cb callback,
                                                   void *user_data);
/** Ends korvane_set_last_status_changed_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_last_status_changed_cb(korvane_h handle);

/**
 * The device's profile: the application's, from korvane_device_profile_info_create() to
 * korvane_device_profile_info_destroy().
 */
typedef struct korvane_device_profile_info_s *korvane_device_profile_info_h;

/**
 * Makes an empty profile.
 *
 * @param[out] dev_profile  the new handle, to be destroyed with korvane_device_profile_info_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *dev_profile is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  dev_profile is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_device_profile_info_create(korvane_device_profile_info_h *dev_profile);

/**
 * Destroys a profile.
 *
 * @param dev_profile  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  dev_profile is NULL
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_device_profile_info_destroy(korvane_device_profile_info_h dev_profile);

/**
 * Sets the device's nick name. As all setters of a profile it copies the text and replaces the one set before.
 *
 * @param dev_profile  not NULL
 * @param nick         not NULL
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_device_profile_info_set_nick(korvane_device_profile_info_h dev_profile, const char *nick);

/**
 * Sets the device's locale. Copying, results and versions as korvane_device_profile_info_set_nick().
 *
 * @param dev_profile  not NULL
 * @param locale       not NULL
 */
KORVANE_API int korvane_device_profile_info_set_locale(korvane_device_profile_info_h dev_profile, const char *locale);

/**
 * Sets the id of the push registration. Copying, results and versions as korvane_device_profile_info_set_nick().
 *
 * @param dev_profile  not NULL
 * @param push_reg_id  not NULL
 */
KORVANE_API int korvane_device_profile_info_set_push_reg_id(korvane_device_profile_info_h dev_profile,
                                                            const char *push_reg_id);

/**
 * Sets the id of the application that gets pushes. Copying, results and versions as
 * korvane_device_profile_info_set_nick().
 *
 * @param dev_profile  not NULL
 * @param push_app_id  not NULL
 */
KORVANE_API int korvane_device_profile_info_set_push_app_id(korvane_device_profile_info_h dev_profile,
                                                            const char *push_app_id);

/**
 * Sets who delivers pushes. Copying, results and versions as korvane_device_profile_info_set_nick().
 *
 * @param dev_profile    not NULL
 * @param push_provider  not NULL
 */
KORVANE_API int korvane_device_profile_info_set_push_provider(korvane_device_profile_info_h dev_profile,
                                                              const char *push_provider);

/**
 * Sets the device's serial number. Copying and results as korvane_device_profile_info_set_nick().
 *
 * @param dev_profile    not NULL
 * @param serial_number  not NULL
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_device_profile_info_set_serial_number(korvane_device_profile_info_h dev_profile,
                                                              const char *serial_number);

/**
 * Tells the agent the profile of the device itself.
 *
 * @param handle       the live handle
 * @param dev_profile  sent as it is now; not NULL. It stays the application's
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  dev_profile is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_device_profile_info(korvane_h handle, korvane_device_profile_info_h dev_profile);

/**
 * Tells the agent which device of a set this one is.
 *
 * @param handle  the live handle
 * @param rsd     in the agent's form; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  rsd is NULL
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_set_regist_set_device(korvane_h handle, const char *rsd);

/**
 * Sets a device's nick name, as the user sees it.
 *
 * @param handle     the live handle
 * @param device_no  device number, 0 or above
 * @param nick       not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  nick is NULL or the number is negative
 *
 * Lowest agent version: 1.2.
 */
KORVANE_API int korvane_set_nick_name(korvane_h handle, int device_no, const char *nick);

/**
 * Sets the name of the device itself.
 *
 * @param handle       the live handle
 * @param device_name  not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  device_name is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_device_name(korvane_h handle, const char *device_name);

/**
 * Sets the name of one device. Here the number comes last.
 *
 * @param handle       the live handle
 * @param device_name  not NULL
 * @param device_no    device number, 0 or above
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  device_name is NULL or the number is negative
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_device_name_with_device_no(korvane_h handle, const char *device_name, int device_no);

/**
 * Sets the type of one device.
 *
 * @param handle       the live handle
 * @param device_no    device number, 0 or above
 * @param device_type  in the agent's coding; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  device_type is NULL or the number is negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_set_device_type_with_device_no(korvane_h handle, int device_no, const char *device_type);

/**
 * Reads whether the device has an owner.
 *
 * @param handle         the live handle
 * @param[out] is_owned  not NULL
 *
 * @retval KORVANE_ERROR_NONE               *is_owned is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  is_owned is NULL
 *
 * Lowest agent version: 1.2.
 */
KORVANE_API int korvane_get_device_owned_status(korvane_h handle, bool *is_owned);

/**
 * A device's nick name was changed, by the user's phone for instance.
 *
 * @param handle     the library's handle
 * @param device_no  device number; 0 is the device itself
 * @param nick       the new name, valid during the call only
 * @param user_data  what was given to korvane_set_nick_changed_cb()
 */
typedef void (*korvane_nick_changed_cb)(korvane_h handle, int device_no, const char *nick, void *user_data);

/** Follows nick names. Lowest agent version: 1.3. */
KORVANE_API int korvane_set_nick_changed_cb(korvane_h handle, korvane_nick_changed_cb callback, void *user_data);
/** Ends korvane_set_nick_changed_cb(). Lowest agent version: 1.3. */
KORVANE_API int korvane_unset_nick_changed_cb(korvane_h handle);

/**
 * The cloud's list of this user's devices has changed.
 *
 * @param handle      the library's handle
 * @param device_ids  the ids, list and texts valid during the call only; not NULL, also when there are none
 * @param count       how many there are, 0 or above
 * @param user_data   what was given to korvane_set_cloud_device_list_cb()
 */
typedef void (*korvane_cloud_device_list_cb)(korvane_h handle, const char *const *device_ids, int count,
                                             void *user_data);

/** Follows the cloud's list of devices. Lowest agent version: 1.1. */
KORVANE_API int korvane_set_cloud_device_list_cb(korvane_h handle, korvane_cloud_device_list_cb callback,
                                                 void *user_data);
/** Ends korvane_set_cloud_device_list_cb(). Lowest agent version: 1.1. */
KORVANE_API int korvane_unset_cloud_device_list_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Keep-alive and the agent's TCP connection
 *
 *     const int intervals[] = {4, 8, 16};
 *     korvane_set_keepalive_intervals(handle, intervals, 3);
 *
 *     korvane_tcp_header_info_h header = NULL;
 *     if (korvane_get_tcp_header_info(handle, &header) == KORVANE_ERROR_NONE) {
 *         int port = 0;
 *         korvane_tcp_header_info_get_src_port(header, &port);
 *         korvane_release_tcp_header_info(header);
 *     }
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Gives the agent a table of keep-alive intervals.
 *
 * @param handle          the live handle
 * @param interval_array  the intervals, in the agent's unit, in the order of the table; not NULL. Read during the call
 * @param count           how many there are; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the array is NULL, or count is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_keepalive_intervals(korvane_h handle, const int *interval_array, int count);

/**
 * Selects intervals of the table.
 *
 * @param handle       the live handle
 * @param index_array  places in the table, as the agent counts them; not NULL. Read during the call
 * @param count        how many there are; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the array is NULL, or count is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_select_keepalive_intervals(korvane_h handle, const int *index_array, int count);

/**
 * Asks the agent to send a keep-alive now. Its outcome comes to the callback of korvane_set_keepalive_result_cb().
 *
 * @param handle  the live handle
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the request
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_send_keepalive(korvane_h handle);

/**
 * Asks the agent to send the device's presence to the cloud now.
 *
 * @param handle  the live handle
 * @param state   0: on, 1: inactive; other values are passed to the agent as they are
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken the request
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_send_presence(korvane_h handle, int state);

/**
 * A keep-alive has ended.
 *
 * @param handle     the library's handle
 * @param result     in the agent's coding
 * @param user_data  what was given to korvane_set_keepalive_result_cb()
 */
typedef void (*korvane_keepalive_result_cb)(korvane_h handle, int result, void *user_data);

/** Is told the outcome of keep-alives. Lowest agent version: 1.4. */
KORVANE_API int korvane_set_keepalive_result_cb(korvane_h handle, korvane_keepalive_result_cb callback,
                                                void *user_data);
/** Ends korvane_set_keepalive_result_cb(). Lowest agent version: 1.4. */
KORVANE_API int korvane_unset_keepalive_result_cb(korvane_h handle);

/**
 * Header fields of the agent's TCP connection to the cloud, as they were when asked for: the application's, from
 * korvane_get_tcp_header_info() to korvane_release_tcp_header_info().
 */
typedef struct korvane_tcp_header_info_s *korvane_tcp_header_info_h;

/**
 * Reads the header fields of the agent's TCP connection, for an application that hands keep-alives over to its network
 * hardware.
 *
 * @param handle                the live handle
 * @param[out] tcp_header_info  the fields, to be released with korvane_release_tcp_header_info(); not NULL. It is set
 *                              to NULL by a call that fails after its arguments were found good and the agent can be
 *                              asked
 *
 * @retval KORVANE_ERROR_NONE               *tcp_header_info is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  tcp_header_info is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: the agent's answer is no JSON object
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_get_tcp_header_info(korvane_h handle, korvane_tcp_header_info_h *tcp_header_info);

/**
 * Releases header fields.
 *
 * @param tcp_header_info  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               released
 * @retval KORVANE_ERROR_INVALID_PARAMETER  tcp_header_info is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_release_tcp_header_info(korvane_tcp_header_info_h tcp_header_info);

/**
 * Reads the version of the internet protocol. The getters of the other fields are as this one.
 *
 * @param tcp_header_info  not NULL
 * @param[out] ip_version  the value; not NULL. A number beyond the range of an int ends at its limits: a sequence
 *                         number above 2147483647 reads as 2147483647. 0 when the agent sent no number
 *
 * @retval KORVANE_ERROR_NONE               the value is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent has not told this field
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_tcp_header_info_get_ip_version(korvane_tcp_header_info_h tcp_header_info, int *ip_version);

/**
 * Reads the source address.
 *
 * @param tcp_header_info  not NULL
 * @param[out] src_addr    the address as text, to be freed with free(); not NULL. NULL is stored when the agent sent
 *                         something that is no text
 *
 * @retval KORVANE_ERROR_NONE               *src_addr is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent has not told the address
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_tcp_header_info_get_src_addr(korvane_tcp_header_info_h tcp_header_info, char **src_addr);

/** Reads the source port; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_src_port(korvane_tcp_header_info_h tcp_header_info, int *src_port);
/** Reads the destination address; as korvane_tcp_header_info_get_src_addr(). */
KORVANE_API int korvane_tcp_header_info_get_dst_addr(korvane_tcp_header_info_h tcp_header_info, char **dst_addr);
/** Reads the destination port; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_dst_port(korvane_tcp_header_info_h tcp_header_info, int *dst_port);
/** Reads the sequence number; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_seq_num(korvane_tcp_header_info_h tcp_header_info, int *seq_num);
/** Reads the acknowledgement number; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_ack_num(korvane_tcp_header_info_h tcp_header_info, int *ack_num);
/** Reads the window; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_window(korvane_tcp_header_info_h tcp_header_info, int *window);
/** Reads the scale of the window; as korvane_tcp_header_info_get_ip_version(). */
KORVANE_API int korvane_tcp_header_info_get_window_scale(korvane_tcp_header_info_h tcp_header_info, int *window_scale);

/* ------------------------------------------------------------------------------------------------------------------
 * Sub-devices and groups
 *
 *     korvane_register_sub_device(handle, 1, "lamp-0001");
 *     const int here[] = {1};
 *     korvane_set_sub_device_presence(handle, here, 1, true);
 *
 *     korvane_sub_dev_prs_h *list = NULL;
 *     int count = 0;
 *     if (korvane_get_sub_device_presence_list(handle, &list, &count) == KORVANE_ERROR_NONE) {
 *         for (int i = 0; i < count; ++i) {
 *             char *id = NULL;
 *             int presence = 0;
 *             if (korvane_get_sub_device_presence(list[i], &id, &presence) == KORVANE_ERROR_NONE) {
 *                 printf("%s: %d\n", id, presence);
 *                 free(id);
 *             }
 *         }
 *         korvane_release_sub_device_presence_list(list, count);
 *     }
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Registers a device that this one represents.
 *
 * @param handle     the live handle
 * @param device_no  the number that it is to have; above 0
 * @param device_id  not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  device_id is NULL, or the number is 0 or negative
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_register_sub_device(korvane_h handle, int device_no, const char *device_id);

/**
 * Ends korvane_register_sub_device().
 *
 * @param handle     the live handle
 * @param device_no  the sub-device's number; above 0
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the number is 0 or negative
 *
 * Lowest agent version: 1.1.
 */
KORVANE_API int korvane_unregister_sub_device(korvane_h handle, int device_no);

/**
 * Tells the agent whether sub-devices are there.
 *
 * @param handle          the live handle
 * @param device_no_list  numbers of sub-devices; not NULL. Read during the call
 * @param device_count    how many there are; above 0
 * @param presence        whether these sub-devices are there
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the list is NULL, or the count is 0 or negative
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_sub_device_presence(korvane_h handle, const int *device_no_list, int device_count,
                                                bool presence);

/** The presence of one sub-device: an item of the list of korvane_get_sub_device_presence_list(). */
typedef struct korvane_sub_dev_prs_s *korvane_sub_dev_prs_h;

/**
 * Reads the presence of all registered sub-devices.
 *
 * @param handle         the live handle
 * @param[out] prs_list  an array with one item per sub-device, to be released with
 *                       korvane_release_sub_device_presence_list(); not NULL
 * @param[out] count     how many items it has; not NULL
 *
 * @retval KORVANE_ERROR_NONE               both are set
 * @retval KORVANE_ERROR_NO_DATA            no sub-device is registered
 * @retval KORVANE_ERROR_INVALID_PARAMETER  prs_list or count is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the list
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: the agent's answer is no such list
 *
 * Lowest agent version: 1.6.
 */
KORVANE_API int korvane_get_sub_device_presence_list(korvane_h handle, korvane_sub_dev_prs_h **prs_list, int *count);

/**
 * Reads one item of the list.
 *
 * @param prs             the item; not NULL
 * @param[out] device_id  the sub-device's id, to be freed with free(); not NULL
 * @param[out] presence   its presence, in the agent's coding; not NULL
 *
 * @retval KORVANE_ERROR_NONE               both are set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy of the id
 *
 * Lowest agent version: 1.6.
 */
KORVANE_API int korvane_get_sub_device_presence(korvane_sub_dev_prs_h prs, char **device_id, int *presence);

/**
 * Releases a list with all its items.
 *
 * @param prs_list  the list; not NULL. Invalid afterwards
 * @param count     how many items it has, as it was handed out; above 0
 *
 * @retval KORVANE_ERROR_NONE               released
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the list is NULL, or count is 0 or negative: nothing is released
 *
 * Lowest agent version: 1.6.
 */
KORVANE_API int korvane_release_sub_device_presence_list(korvane_sub_dev_prs_h *prs_list, int count);

/**
 * Called once with the answer to korvane_get_group_id().
 *
 * @param handle     the library's handle
 * @param group_id   the id, valid during the call only
 * @param user_data  what was given to korvane_get_group_id()
 */
typedef void (*korvane_get_group_id_cb)(korvane_h handle, const char *group_id, void *user_data);

/**
 * Asks the agent for the id of the device's group. The answer comes to the callback, once.
 *
 * @param handle     the live handle
 * @param callback   told the id; not NULL. It is not called when this function fails, nor after korvane_deinitialize()
 * @param user_data  passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 1.5.
 */
KORVANE_API int korvane_get_group_id(korvane_h handle, korvane_get_group_id_cb callback, void *user_data);

/* ------------------------------------------------------------------------------------------------------------------
 * Certificates and tokens
 *
 *     static void on_token(korvane_h handle, int result, korvane_hdr_token_info_h info, void *user_data)
 *     {
 *         char *url = NULL;
 *         if (result == 0 && korvane_hdr_token_info_get_server_url(info, &url) == KORVANE_ERROR_NONE) {
 *             printf("log on at %s\n", url);
 *             free(url);
 *         }
 *     }
 *
 *     korvane_create_hdr_token_info(handle, on_token, NULL);
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Called once with the answer to korvane_create_hdr_certificate().
 *
 * @param handle     the library's handle
 * @param result     the agent's own code: 0 when the certificate was made
 * @param text       what the agent tells of it, valid during the call only
 * @param user_data  what was given to korvane_create_hdr_certificate()
 */
typedef void (*korvane_create_hdr_certificate_cb)(korvane_h handle, int result, const char *text, void *user_data);

/**
 * Asks for a certificate of the device. The answer comes to the callback, once.
 *
 * @param handle       the live handle
 * @param device_type  in the agent's coding; not NULL
 * @param csr          the signing request; not NULL
 * @param callback     told the outcome; not NULL. It is not called when this function fails, nor after
 *                     korvane_deinitialize()
 * @param user_data    passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  a text or the callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.1.
 */
KORVANE_API int korvane_create_hdr_certificate(korvane_h handle, const char *device_type, const char *csr,
                                               korvane_create_hdr_certificate_cb callback, void *user_data);

/**
 * Called once with the answer to korvane_get_hdr_certificate().
 *
 * @param handle     the library's handle
 * @param result     the agent's own code: 0 when the certificate was found
 * @param text1      the first text that the agent tells of it, valid during the call only
 * @param text2      the second one, likewise
 * @param user_data  what was given to korvane_get_hdr_certificate()
 */
typedef void (*korvane_get_hdr_certificate_cb)(korvane_h handle, int result, const char *text1, const char *text2,
                                               void *user_data);

/**
 * Asks for a certificate that was made before. The answer comes to the callback, once.
 *
 * @param handle           the live handle
 * @param device_type      in the agent's coding; not NULL
 * @param certificate_arn  the name of the certificate; not NULL
 * @param callback         told the outcome; not NULL. It is not called when this function fails, nor after
 *                         korvane_deinitialize()
 * @param user_data        passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  a text or the callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.1.
 */
KORVANE_API int korvane_get_hdr_certificate(korvane_h handle, const char *device_type, const char *certificate_arn,
                                            korvane_get_hdr_certificate_cb callback, void *user_data);

/** A token with what belongs to it. The library's, valid during the callback that receives it. */
typedef struct korvane_hdr_token_info_s *korvane_hdr_token_info_h;

/**
 * Called once with the answer to korvane_create_hdr_token_info().
 *
 * @param handle      the library's handle
 * @param result      the agent's own code: 0 when there is a token
 * @param token_info  the token, valid during the call only; NULL when the agent's answer cannot be read
 * @param user_data   what was given to korvane_create_hdr_token_info()
 */
typedef void (*korvane_create_hdr_token_info_cb)(korvane_h handle, int result, korvane_hdr_token_info_h token_info,
                                                 void *user_data);

/**
 * Asks for a token. The answer comes to the callback, once.
 *
 * @param handle     the live handle
 * @param callback   told the outcome; not NULL. It is not called when this function fails, nor after
 *                   korvane_deinitialize()
 * @param user_data  passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.1.
 */
KORVANE_API int korvane_create_hdr_token_info(korvane_h handle, korvane_create_hdr_token_info_cb callback,
                                              void *user_data);

/** Called once with the answer to korvane_create_hdr_token_info_custom(); as korvane_create_hdr_token_info_cb(). */
typedef void (*korvane_create_hdr_token_info_custom_cb)(korvane_h handle, int result,
                                                        korvane_hdr_token_info_h token_info, void *user_data);

/**
 * Asks for a token with request data of the application's own. The answer comes to the callback, once.
 *
 * @param handle                 the live handle
 * @param request_data_json_str  JSON that the agent understands, passed on as it is; not NULL
 * @param callback               told the outcome; not NULL. It is not called when this function fails, nor after
 *                               korvane_deinitialize()
 * @param user_data              passed to the callback as it is; may be NULL
 *
 * @retval KORVANE_ERROR_NONE               the request is under way
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the text or the callback is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 *
 * Lowest agent version: 2.3.
 */
KORVANE_API int korvane_create_hdr_token_info_custom(korvane_h handle, const char *request_data_json_str,
                                                     korvane_create_hdr_token_info_custom_cb callback, void *user_data);

/**
 * Reads the id of a token. The getters of its other texts are as this one.
 *
 * @param token_info  not NULL
 * @param[out] uuid   the text, to be freed with free(); not NULL. NULL is stored when the agent sent something that is
 *                    no text
 *
 * @retval KORVANE_ERROR_NONE               the text is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent has not told it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the copy
 *
 * Lowest agent version: 2.1.
 */
KORVANE_API int korvane_hdr_token_info_get_uuid(korvane_hdr_token_info_h token_info, char **uuid);
/** Reads the name of the server that the token is for; as korvane_hdr_token_info_get_uuid(). */
KORVANE_API int korvane_hdr_token_info_get_server_name(korvane_hdr_token_info_h token_info, char **server_name);
/** Reads the address of the server that the token is for; as korvane_hdr_token_info_get_uuid(). */
KORVANE_API int korvane_hdr_token_info_get_server_url(korvane_hdr_token_info_h token_info, char **server_url);
/** Reads the token itself, a secret; as korvane_hdr_token_info_get_uuid(). */
KORVANE_API int korvane_hdr_token_info_get_token(korvane_hdr_token_info_h token_info, char **token);

/**
 * Reads when a token expires.
 *
 * @param token_info            not NULL
 * @param[out] expiration_time  in the cloud's coding; not NULL. A number beyond the range of an int ends at its limits
 *
 * @retval KORVANE_ERROR_NONE               *expiration_time is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   the agent has not told it
 *
 * Lowest agent version: 2.1.
 */
KORVANE_API int korvane_hdr_token_info_get_expiration_time(korvane_hdr_token_info_h token_info, int *expiration_time);

/* ------------------------------------------------------------------------------------------------------------------
 * Push messages and diagnostics
 *
 *     korvane_send_custom_push_msg(handle, "{\"title\":\"The laundry is done\"}");
 * ------------------------------------------------------------------------------------------------------------------ */

/**
 * Sends a push message of the application's own to the user.
 *
 * @param handle             the live handle
 * @param push_msg_json_str  the message as JSON, an object in general; not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  the text is NULL or not JSON, or there is no memory to parse it
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for the request
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 2.0.
 */
KORVANE_API int korvane_send_custom_push_msg(korvane_h handle, const char *push_msg_json_str);

/**
 * The cloud asks the device for diagnostics.
 *
 * @param handle     the library's handle
 * @param value      what kind, in the agent's coding
 * @param text       what is asked for, valid during the call only
 * @param user_data  what was given to korvane_set_diagnostics_cb()
 */
typedef void (*korvane_diagnostics_cb)(korvane_h handle, int value, const char *text, void *user_data);

/** Is asked for diagnostics. Lowest agent version: 2.2. */
KORVANE_API int korvane_set_diagnostics_cb(korvane_h handle, korvane_diagnostics_cb callback, void *user_data);
/** Ends korvane_set_diagnostics_cb(). Lowest agent version: 2.2. */
KORVANE_API int korvane_unset_diagnostics_cb(korvane_h handle);

/* ------------------------------------------------------------------------------------------------------------------
 * Terms and conditions
 *
 *     korvane_tnc_info_h terms = NULL;
 *     if (korvane_tnc_info_create(&terms) == KORVANE_ERROR_NONE) {
 *         korvane_tncinfo_set_version(terms, "2024-05");
 *         korvane_tncinfo_set_header(terms, "Terms of use");
 *         korvane_set_tnc_info(handle, terms);
 *         korvane_tnc_info_destroy(terms);
 *     }
 * ------------------------------------------------------------------------------------------------------------------ */

/** The device's terms: the application's, from korvane_tnc_info_create() to korvane_tnc_info_destroy(). */
typedef struct korvane_tnc_info_s *korvane_tnc_info_h;

/**
 * Makes empty terms.
 *
 * @param[out] tnc_info  the new handle, to be destroyed with korvane_tnc_info_destroy(); not NULL
 *
 * @retval KORVANE_ERROR_NONE               *tnc_info is set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  tnc_info is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory for it
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_tnc_info_create(korvane_tnc_info_h *tnc_info);

/**
 * Destroys terms.
 *
 * @param tnc_info  not NULL; invalid afterwards
 *
 * @retval KORVANE_ERROR_NONE               destroyed
 * @retval KORVANE_ERROR_INVALID_PARAMETER  tnc_info is NULL
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_tnc_info_destroy(korvane_tnc_info_h tnc_info);

/**
 * Sets the version of the terms; replaces the one set before.
 *
 * @param tnc_info  not NULL
 * @param version   not NULL; copied
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_tncinfo_set_version(korvane_tnc_info_h tnc_info, const char *version);

/**
 * Sets the heading of the terms; replaces the one set before.
 *
 * @param tnc_info  not NULL
 * @param header    not NULL; copied
 *
 * @retval KORVANE_ERROR_NONE               set
 * @retval KORVANE_ERROR_INVALID_PARAMETER  an argument is NULL
 * @retval KORVANE_ERROR_OUT_OF_MEMORY      no memory; the text set before stays
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_tncinfo_set_header(korvane_tnc_info_h tnc_info, const char *header);

/**
 * Tells the agent the device's terms.
 *
 * @param handle    the live handle
 * @param tnc_info  sent as they are now; not NULL. They stay the application's
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken them
 * @retval KORVANE_ERROR_INVALID_PARAMETER  tnc_info is NULL
 * @retval KORVANE_ERROR_OPERATION_FAILED   also: no memory for the request's text
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_tnc_info(korvane_h handle, korvane_tnc_info_h tnc_info);

/**
 * Tells the agent where the terms can be read.
 *
 * @param handle  the live handle
 * @param url     not NULL
 *
 * @retval KORVANE_ERROR_NONE               the agent has taken it
 * @retval KORVANE_ERROR_INVALID_PARAMETER  url is NULL
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_tnc_url(korvane_h handle, const char *url);

/**
 * Tells the agent which kinds of terms there are.
 *
 * @param handle  the live handle
 * @param type    a bit mask in the agent's coding, any value
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken it
 *
 * Lowest agent version: 1.4.
 */
KORVANE_API int korvane_set_tnc_type(korvane_h handle, unsigned int type);

/**
 * Tells the agent whether the user has agreed.
 *
 * @param handle  the live handle
 * @param status  in the agent's coding, any value
 *
 * @retval KORVANE_ERROR_NONE  the agent has taken it
 *
 * Lowest agent version: 1.3.
 */
KORVANE_API int korvane_set_tnc_status(korvane_h handle, int status);

/**
 * The user has answered the terms.
 *
 * @param handle     the library's handle
 * @param result     the answer in the agent's form, valid during the call only
 * @param user_data  what was given to korvane_set_tnc_result_cb()
 */
typedef void (*korvane_tnc_result_cb)(korvane_h handle, const char *result, void *user_data);

/** Is told how the user answers the terms. Lowest agent version: 1.3. */
KORVANE_API int korvane_set_tnc_result_cb(korvane_h handle, korvane_tnc_result_cb callback, void *user_data);
/** Ends korvane_set_tnc_result_cb(). Lowest agent version: 1.3. */
KORVANE_API int korvane_unset_tnc_result_cb(korvane_h handle);

#ifdef __cplusplus
}
#endif

#endif
