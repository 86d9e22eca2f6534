/* SPDX-License-Identifier: Apache-2.0 */
#pragma once

#include <korvane.h>

/* The entry points of the header's examples, and what the examples do to the device. */

#ifdef __cplusplus
extern "C" {
#endif

/* What the examples have printed, joined, networks and displays included. Reading it empties it. */
const char *example_output(void);

void example_print_device_id(korvane_h handle);
void example_connect_to_agent(void);
korvane_h example_device(void);
bool example_retry_is_pending(void);
void example_end(void);
void *example_watch_status(korvane_h handle);
int example_status_of(const void *display);
bool example_unwatch_status(korvane_h handle, void *display);
int example_request_group_id(korvane_h handle, bool *answered);
int example_follow_access_point(korvane_h handle);
int example_answer_scans(korvane_h handle);
int example_follow_provisioning_data(korvane_h handle);
int example_follow_pins(korvane_h handle);
int example_offer_languages(korvane_h handle);
int example_sign_up(korvane_h handle, const char *access_token, const char *user_id);
int example_describe_device(korvane_h handle);
int example_read_source_port(korvane_h handle, int *port);
int example_choose_intervals(korvane_h handle);
int example_register_lamp(korvane_h handle);
void example_print_sub_devices(korvane_h handle);
int example_request_token(korvane_h handle, bool *answered);
int example_report_end(korvane_h handle);
int example_send_terms(korvane_h handle);
const char *example_cause_of(int result);

#ifdef __cplusplus
}
#endif
