/* SPDX-License-Identifier: Apache-2.0 */
/* A hub: represents devices that cannot speak to the cloud themselves. See README.md. */
#include "../common/application.h"

#include <stdlib.h>

enum { PATIENCE_MS = 3000 };

/* The hub itself is device 0, what it represents is numbered from 1. */
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
static guint patience;

/* ---- telling of one sub-device ----------------------------------------------------------------------------------- */

static int tell_id(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_register_sub_device(device, sub->number, sub->id);
}

/* Take care: whether the number or the text comes first differs from function to function. */
static int tell_name(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_device_name_with_device_no(device, sub->name, sub->number);
}

static int tell_nick(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_nick_name(device, sub->number, sub->name);
}

static int tell_type(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_set_device_type_with_device_no(device, sub->number, sub->type);
}

static int tell_platform(korvane_h device, void *user_data)
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

static int forget(korvane_h device, void *user_data)
{
    const struct sub_device *sub = user_data;
    return korvane_unregister_sub_device(device, sub->number);
}

static const struct call introduction[] = {
    {"register_sub_device", tell_id},
    {"set_device_name_with_device_no", tell_name},
    {"set_nick_name", tell_nick},
    {"set_device_type_with_device_no", tell_type},
    {"set_platform_info_with_device_no", tell_platform},
    {NULL, NULL},
};

static const struct call farewell[] = {
    {"unregister_sub_device", forget},
    {NULL, NULL},
};

static bool for_each_sub_device(korvane_h device, const struct call *calls)
{
    for (size_t i = 0; i < G_N_ELEMENTS(sub_devices); ++i) {
        struct sub_device sub = sub_devices[i];
        say("sub-device", "%d %s", sub.number, sub.id);
        if (!make_calls(device, calls, &sub))
            return false;
    }
    return true;
}

/* ---- telling of all ---------------------------------------------------------------------------------------------- */

/* One request for all that are there, one for all that are not. */
static int tell_presence(korvane_h device, bool here)
{
    int numbers[G_N_ELEMENTS(sub_devices)];
    int count = 0;
    for (size_t i = 0; i < G_N_ELEMENTS(sub_devices); ++i)
        if (sub_devices[i].here == here)
            numbers[count++] = sub_devices[i].number;
    return korvane_set_sub_device_presence(device, numbers, count, here);
}

static int tell_who_is_here(korvane_h device, void *unused)
{
    (void)unused;
    return tell_presence(device, true);
}

static int tell_who_is_away(korvane_h device, void *unused)
{
    (void)unused;
    return tell_presence(device, false);
}

/* That there is no sub-device is an answer, with a code of its own. */
static int read_presence(korvane_h device, void *unused)
{
    (void)unused;
    korvane_sub_dev_prs_h *list = NULL;
    int count = 0;
    int result = korvane_get_sub_device_presence_list(device, &list, &count);
    if (result == KORVANE_ERROR_NO_DATA) {
        say("presence", "nobody is registered");
        return KORVANE_ERROR_NONE;
    }
    if (result != KORVANE_ERROR_NONE)
        return result;
    for (int i = 0; i < count; ++i) {
        char *id = NULL;
        int presence = 0;
        if (korvane_get_sub_device_presence(list[i], &id, &presence) == KORVANE_ERROR_NONE)
            say("presence", "%s: %d", id, presence);
        free(id);
    }
    return korvane_release_sub_device_presence_list(list, count);
}

static const struct call presence[] = {
    {"set_sub_device_presence (here)", tell_who_is_here},
    {"set_sub_device_presence (away)", tell_who_is_away},
    {"get_sub_device_presence_list", read_presence},
    {NULL, NULL},
};

static const struct call last_look[] = {
    {"get_sub_device_presence_list", read_presence},
    {NULL, NULL},
};

/* ---- the course of things ---------------------------------------------------------------------------------------- */

static void forget_patience(void)
{
    if (patience != 0)
        g_source_remove(patience);
    patience = 0;
}

static void finish(korvane_h device)
{
    say("hub", "ready");
    if (!stay && for_each_sub_device(device, farewell) && make_calls(device, last_look, NULL))
        end_application(step("stop", korvane_stop(device)) ? DONE : STEP_FAILED);
}

static void on_group_id(korvane_h device, const char *group_id, void *user_data)
{
    (void)user_data;
    say("group", "%s", group_id);
    if (patience == 0)
        return; /* it was not waited for any longer */
    forget_patience();
    finish(device);
}

static gboolean on_patience_ends(gpointer device)
{
    patience = 0;
    say("group", "the agent does not tell");
    finish(device);
    return G_SOURCE_REMOVE;
}

static void on_ready(korvane_h device, void *user_data)
{
    (void)user_data;
    if (!start_service(device) || !for_each_sub_device(device, introduction) || !make_calls(device, presence, NULL))
        return;
    int result = korvane_get_group_id(device, on_group_id, NULL);
    step("get_group_id", result);
    if (result == KORVANE_ERROR_NONE)
        patience = g_timeout_add(PATIENCE_MS, on_patience_ends, device);
    else if (result != KORVANE_ERROR_IO_ERROR)
        finish(device);
}

static void on_lost(void *user_data)
{
    (void)user_data;
    forget_patience();
}

int main(int argc, char **argv)
{
    const GOptionEntry options[] = {
        {"stay", 0, 0, G_OPTION_ARG_NONE, &stay, "keep the sub-devices registered and the service running", NULL},
        {NULL, 0, 0, G_OPTION_ARG_NONE, NULL, NULL, NULL},
    };
    if (!parse_command_line(&argc, &argv, options, "A hub that represents a lamp, a lock and a fan."))
        return NOT_REACHED;
    const struct application application = {.ready = on_ready, .lost = on_lost, .stay = stay};
    return run_application(&application);
}
