/* SPDX-License-Identifier: Apache-2.0 */
/* A hub: represents devices that have no connection to the cloud of their own. See README.md. */
#include "../common/application.h"

#include <stdlib.h>

enum { GROUP_TIMEOUT_MS = 3000 };

/* The hub itself is device 0; sub-devices are numbered from 1. */
static const struct sub_device {
    int number;
    const char *id;
    const char *name;
    const char *type;
    const char *model;
    bool here;
} sub_devices[] = {
    {1, "lamp-0001", "Lamp in the hall", "light", "L-100", true},
    {2, "lock-0001", "Front door", "lock", "K-7", true},
    {3, "fan-0001", "Fan in the attic", "fan", "F-3", false},
};

static gboolean stay;
static guint group_timeout;

/* ---- one sub-device ---------------------------------------------------------------------------------------------- */

static int register_it(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_register_sub_device(device, sub->number, sub->id);
}

/* The order of number and text differs between the functions. */
static int set_name(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_device_name_with_device_no(device, sub->name, sub->number);
}

static int set_nick(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_nick_name(device, sub->number, sub->name);
}

static int set_type(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_device_type_with_device_no(device, sub->number, sub->type);
}

static int set_platform(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    korvane_platform_info_h info = NULL;
    int result = korvane_platforminfo_create(&info);
    if (result != KORVANE_ERROR_NONE)
        return result;
    korvane_platforminfo_set_model_number(info, sub->model);
    result = korvane_set_platform_info_with_device_no(device, info, sub->number);
    korvane_platforminfo_destroy(info);
    return result;
}

static int unregister(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_unregister_sub_device(device, sub->number);
}

static const struct call introduction[] = {
    {"register_sub_device", register_it},
    {"set_device_name_with_device_no", set_name},
    {"set_nick_name", set_nick},
    {"set_device_type_with_device_no", set_type},
    {"set_platform_info_with_device_no", set_platform},
    {NULL, NULL},
};

static const struct call farewell[] = {
    {"unregister_sub_device", unregister},
    {NULL, NULL},
};

static int for_each_sub_device(korvane_h device, const struct call *calls)
{
    for (size_t i = 0; i < G_N_ELEMENTS(sub_devices); ++i) {
        struct sub_device sub = sub_devices[i];
        print("sub-device", "%d %s", sub.number, sub.id);
        int result = make_calls(device, calls, &sub);
        if (result != KORVANE_ERROR_NONE)
            return result;
    }
    return KORVANE_ERROR_NONE;
}

/* ---- presence of all --------------------------------------------------------------------------------------------- */

/* Sends one request for all sub-devices that are present, or for all that are not. */
static int set_presence(korvane_h device, bool here)
{
    int numbers[G_N_ELEMENTS(sub_devices)];
    int count = 0;
    for (size_t i = 0; i < G_N_ELEMENTS(sub_devices); ++i)
        if (sub_devices[i].here == here)
            numbers[count++] = sub_devices[i].number;
    return korvane_set_sub_device_presence(device, numbers, count, here);
}

static int set_present(korvane_h device, void *unused)
{
    (void)unused;
    return set_presence(device, true);
}

static int set_absent(korvane_h device, void *unused)
{
    (void)unused;
    return set_presence(device, false);
}

/* NO_DATA means that no sub-device is registered, which is not a failure here. */
static int read_presence(korvane_h device, void *unused)
{
    (void)unused;
    korvane_sub_dev_prs_h *list = NULL;
    int count = 0;
    int result = korvane_get_sub_device_presence_list(device, &list, &count);
    if (result == KORVANE_ERROR_NO_DATA) {
        print("presence", "no sub-device is registered");
        return KORVANE_ERROR_NONE;
    }
    if (result != KORVANE_ERROR_NONE)
        return result;
    for (int i = 0; i < count; ++i) {
        char *id = NULL;
        int presence = 0;
        if (korvane_get_sub_device_presence(list[i], &id, &presence) == KORVANE_ERROR_NONE)
            print("presence", "%s: %d", id, presence);
        free(id);
    }
    return korvane_release_sub_device_presence_list(list, count);
}

static const struct call presence[] = {
    {"set_sub_device_presence (here)", set_present},
    {"set_sub_device_presence (away)", set_absent},
    {"get_sub_device_presence_list", read_presence},
    {NULL, NULL},
};

static const struct call last_look[] = {
    {"get_sub_device_presence_list", read_presence},
    {NULL, NULL},
};

/* ---- order of the steps ------------------------------------------------------------------------------------------ */

static void cancel_group_timeout(void)
{
    if (group_timeout != 0)
        g_source_remove(group_timeout);
    group_timeout = 0;
}

static void finish(korvane_h device)
{
    print("hub", "ready");
    if (!stay && for_each_sub_device(device, farewell) == KORVANE_ERROR_NONE &&
        make_calls(device, last_look, NULL) == KORVANE_ERROR_NONE)
        end_application(step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
}

static void on_group_id(korvane_h device, const char *group_id, void *user_data)
{
    (void)user_data;
    print("group", "%s", group_id);
    if (group_timeout == 0)
        return; /* the timeout has passed */
    cancel_group_timeout();
    finish(device);
}

static gboolean on_group_timeout(gpointer device)
{
    group_timeout = 0;
    print("group", "no event from the agent");
    finish(device);
    return G_SOURCE_REMOVE;
}

static int configure(korvane_h device, void *user_data)
{
    (void)user_data;
    int result = start_service(device);
    if (result == KORVANE_ERROR_NONE)
        result = for_each_sub_device(device, introduction);
    return result == KORVANE_ERROR_NONE ? make_calls(device, presence, NULL) : result;
}

static void on_connected(korvane_h device, void *user_data)
{
    (void)user_data;
    int result = korvane_get_group_id(device, on_group_id, NULL);
    step("get_group_id", result);
    if (result == KORVANE_ERROR_NONE)
        group_timeout = g_timeout_add(GROUP_TIMEOUT_MS, on_group_timeout, device);
    else if (result != KORVANE_ERROR_IO_ERROR)
        finish(device);
}

static void on_lost(void *user_data)
{
    (void)user_data;
    cancel_group_timeout();
}

int main(int argc, char **argv)
{
    const GOptionEntry options[] = {
        {"stay", 0, 0, G_OPTION_ARG_NONE, &stay, "keep the sub-devices registered and the service running", NULL},
        {NULL, 0, 0, G_OPTION_ARG_NONE, NULL, NULL, NULL},
    };
    if (!parse_command_line(&argc, &argv, options, "A hub that represents a lamp, a lock and a fan."))
        return NOT_REACHED;
    const struct application application = {
        .configure = configure, .connected = on_connected, .lost = on_lost, .stay = stay};
    return run_application(&application);
}
