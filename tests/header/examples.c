/* SPDX-License-Identifier: Apache-2.0 */
/* The examples of korvane.h and korvane_results.h as a reader would build them: the text of the headers, with the functions of the device that
   they call. */
#include "examples.h"

#include <glib.h>
#include <korvane_results.h>

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static char output[512];

static int __attribute__((format(printf, 1, 2))) note(const char *format, ...)
{
    const size_t used = strlen(output);
    va_list values;
    va_start(values, format);
    const int length = vsnprintf(output + used, sizeof output - used, format, values);
    va_end(values);
    return length;
}

static void join_network(const char *ssid, const char *password)
{
    note("join %s with %s\n", ssid, password);
}

static void store_language(const char *language)
{
    note("language %s\n", language);
}

static void show_on_display(const char *pin)
{
    note("display %s\n", pin);
}

static void clear_display(void)
{
    note("display cleared\n");
}

static bool use_language(const char *language)
{
    note("use %s\n", language);
    return true;
}

/* An example leaves out what a reader does not need to see, such as casts of unused arguments. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define printf note
#include "header_examples.inc"
#undef printf
#pragma GCC diagnostic pop

const char *example_output(void)
{
    static char taken[sizeof output];
    memcpy(taken, output, sizeof output);
    output[0] = '\0';
    return taken;
}

void example_print_device_id(korvane_h handle)
{
    print_device_id(handle);
}

void example_connect_to_agent(void)
{
    connect_to_agent(NULL);
}

korvane_h example_device(void)
{
    return device;
}

bool example_retry_is_pending(void)
{
    return retry_timer != 0;
}

void example_end(void)
{
    if (retry_timer != 0)
        g_source_remove(retry_timer);
    retry_timer = 0;
    if (device)
        korvane_deinitialize(device);
    device = NULL;
}

void *example_watch_status(korvane_h handle)
{
    return watch_status(handle);
}

int example_status_of(const void *display)
{
    return ((const struct display *)display)->status;
}

bool example_unwatch_status(korvane_h handle, void *display)
{
    return unwatch_status(handle, display);
}

int example_request_group_id(korvane_h handle, bool *answered)
{
    return request_group_id(handle, answered);
}

int example_follow_access_point(korvane_h handle)
{
    return follow_access_point(handle);
}

int example_answer_scans(korvane_h handle)
{
    return answer_scans(handle);
}

int example_follow_provisioning_data(korvane_h handle)
{
    return follow_provisioning_data(handle);
}

int example_follow_pins(korvane_h handle)
{
    return follow_pins(handle);
}

int example_offer_languages(korvane_h handle)
{
    return offer_languages(handle);
}

int example_sign_up(korvane_h handle, const char *access_token, const char *user_id)
{
    return sign_up(handle, access_token, user_id);
}

int example_describe_device(korvane_h handle)
{
    return describe_device(handle);
}

int example_read_source_port(korvane_h handle, int *port)
{
    return read_source_port(handle, port);
}

int example_choose_intervals(korvane_h handle)
{
    return choose_intervals(handle);
}

int example_register_lamp(korvane_h handle)
{
    return register_lamp(handle);
}

void example_print_sub_devices(korvane_h handle)
{
    print_sub_devices(handle);
}

int example_request_token(korvane_h handle, bool *answered)
{
    return request_token(handle, answered);
}

int example_report_end(korvane_h handle)
{
    return report_end(handle);
}

int example_send_terms(korvane_h handle)
{
    return send_terms(handle);
}

const char *example_cause_of(int result)
{
    return cause_of(result);
}
