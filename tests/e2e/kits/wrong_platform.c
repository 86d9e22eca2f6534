/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Functions of the platform with one fault, which the variable WRONG names. They replace those of the host platform in the
 * program of the platform kit, and call them. Without the variable nothing differs.
 */
#include <app_event.h>
#include <dlfcn.h>
#include <glib.h>
#include <last_result.h>
#include <package_info.h>
#include <rpc_port.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static bool is_wrong(const char *fault)
{
    const char *wanted = getenv("WRONG");
    return wanted && strcmp(wanted, fault) == 0;
}

/* The function of this name in the host platform. ISO C has no conversion of the address that dlsym returns. */
#define HOST(name) (*(__typeof__(name) **)&(void *){dlsym(RTLD_NEXT, #name)})

/* ---- log, packages, application events ---- */

static int shared_result;

int get_last_result(void)
{
    if (is_wrong("last-result-lost"))
        return 0;
    return is_wrong("last-result-shared") ? shared_result : HOST(get_last_result)();
}

void set_last_result(int result)
{
    shared_result = result;
    HOST(set_last_result)(result);
}

int package_info_create(const char *package, package_info_h *info)
{
    const int result = HOST(package_info_create)(package, info);
    return result != 0 && is_wrong("unknown-package-other-code") ? -2 : result;
}

int package_info_get_version(package_info_h info, char **version)
{
    static int reads;
    const int result = HOST(package_info_get_version)(info, version);
    if (result == 0 && is_wrong("version-changes"))
        (*version)[0] = (char)('0' + ++reads);
    return result;
}

int event_remove_event_handler(event_handler_h handler)
{
    return is_wrong("handler-stays") ? 0 : HOST(event_remove_event_handler)(handler);
}

int event_add_event_handler(const char *event_name, event_cb callback, void *user_data, event_handler_h *handler)
{
    const int result = HOST(event_add_event_handler)(event_name, callback, user_data, handler);
    return result == 0 && is_wrong("second-subscription")
               ? HOST(event_add_event_handler)(event_name, callback, user_data, handler)
               : result;
}

/* ---- parcels ---- */

int rpc_port_parcel_read_int32(rpc_port_parcel_h parcel, int *value)
{
    const int result = HOST(rpc_port_parcel_read_int32)(parcel, value);
    if (result != 0 && is_wrong("failed-read-stores"))
        *value = 0;
    return result;
}

int rpc_port_parcel_write_bool(rpc_port_parcel_h parcel, bool value)
{
    return HOST(rpc_port_parcel_write_bool)(parcel, value || is_wrong("bool-always-true"));
}

int rpc_port_parcel_read_string(rpc_port_parcel_h parcel, char **value)
{
    const int result = HOST(rpc_port_parcel_read_string)(parcel, value);
    if (result == 0 && is_wrong("strings-cut") && strlen(*value) > 255)
        (*value)[255] = '\0';
    return result;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h parcel, int *count)
{
    return is_wrong("count-unchecked") ? HOST(rpc_port_parcel_read_int32)(parcel, count)
                                       : HOST(rpc_port_parcel_read_array_count)(parcel, count);
}

int rpc_port_parcel_write(rpc_port_parcel_h parcel, rpc_port_parcelable_t *parcelable, void *data)
{
    return is_wrong("records-unwritten") ? 0 : HOST(rpc_port_parcel_write)(parcel, parcelable, data);
}

int rpc_port_parcel_destroy(rpc_port_parcel_h parcel)
{
    const int result = HOST(rpc_port_parcel_destroy)(parcel);
    return is_wrong("parcel-destroy-fails") ? -22 : result;
}

int rpc_port_parcel_send(rpc_port_parcel_h parcel, rpc_port_h port)
{
    const int result = HOST(rpc_port_parcel_send)(parcel, port);
    return is_wrong("send-never-fails") ? 0 : result;
}

int rpc_port_parcel_create_from_port(rpc_port_parcel_h *parcel, rpc_port_h port)
{
    if (is_wrong("read-blocks"))
        for (;;)
            pause();
    int result = HOST(rpc_port_parcel_create_from_port)(parcel, port);
    static int reads;
    if (result == 0 && is_wrong("reply-lost") && ++reads == 3) {
        HOST(rpc_port_parcel_destroy)(*parcel);
        result = HOST(rpc_port_parcel_create_from_port)(parcel, port);
    }
    return result;
}

/* ---- connections ---- */

/* A callback of the application, and its user data. */
struct callback {
    rpc_port_proxy_received_event_cb call;
    void *data;
    int calls;
};

static GPtrArray *callbacks;

static struct callback *new_callback(rpc_port_proxy_received_event_cb call, void *data)
{
    struct callback *callback = g_new0(struct callback, 1);
    callback->call = call;
    callback->data = data;
    if (!callbacks)
        callbacks = g_ptr_array_new();
    g_ptr_array_add(callbacks, callback);
    return callback;
}

static void on_rejected(const char *endpoint, const char *port_name, void *data)
{
    struct callback *callback = data;
    if (is_wrong("rejected-without-reason"))
        set_last_result(0);
    callback->call(endpoint, port_name, callback->data);
}

static void on_disconnected(const char *endpoint, const char *port_name, void *data)
{
    struct callback *callback = data;
    callback->call(endpoint, port_name, callback->data);
    if (is_wrong("disconnected-twice"))
        callback->call(endpoint, port_name, callback->data);
}

static void on_received(const char *endpoint, const char *port_name, void *data)
{
    struct callback *callback = data;
    if (++callback->calls == 5 && is_wrong("event-dropped"))
        return;
    callback->call(is_wrong("other-endpoint") ? "" : endpoint, port_name, callback->data);
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_rejected_event_cb cb, void *data)
{
    return HOST(rpc_port_proxy_add_rejected_event_cb)(proxy, on_rejected, new_callback(cb, data));
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_disconnected_event_cb cb,
                                             void *data)
{
    return HOST(rpc_port_proxy_add_disconnected_event_cb)(proxy, on_disconnected, new_callback(cb, data));
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h proxy, rpc_port_proxy_received_event_cb cb, void *data)
{
    return HOST(rpc_port_proxy_add_received_event_cb)(proxy, on_received, new_callback(cb, data));
}

int rpc_port_proxy_connect(rpc_port_proxy_h proxy, const char *appid, const char *port_name)
{
    const int result = HOST(rpc_port_proxy_connect)(proxy, appid, port_name);
    if (is_wrong("callback-inside-connect"))
        for (int i = 0; i < 20; ++i) {
            g_main_context_iteration(NULL, FALSE);
            g_usleep(5000);
        }
    return result;
}

int rpc_port_proxy_get_port(rpc_port_proxy_h proxy, rpc_port_port_type_e type, rpc_port_h *port)
{
    if (is_wrong("one-port"))
        type = RPC_PORT_PORT_MAIN;
    const int result = HOST(rpc_port_proxy_get_port)(proxy, type, port);
    return is_wrong("port-before-connection") ? 0 : result;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h proxy)
{
    /* A proxy that is not destroyed continues to report, and keeps its descriptors. */
    static GPtrArray *kept;
    if (!is_wrong("proxy-stays"))
        return HOST(rpc_port_proxy_destroy)(proxy);
    if (!kept)
        kept = g_ptr_array_new();
    g_ptr_array_add(kept, proxy);
    return 0;
}
