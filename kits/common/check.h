/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_KITS_CHECK_H
#define KORVANE_KITS_CHECK_H

/* Checks that may wait for another process. They are test cases of GLib's test framework, which prints them as TAP. */

#include <glib.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Seconds after which a wait gives up; 30 at first. */
extern int kit_timeout_s;

/** Adds a check. The program ends with an error if the check blocks for longer than three timeouts. `path` is copied. */
void kit_add(const char *path, void (*check)(void));
/** The same for a check of one row of a table, which is passed to it and must stay valid. */
void kit_add_row(const char *path, void (*check)(const void *row), const void *row);

/** Runs the main loop until *condition is true. Returns false, and fails the check, if it stays false. */
bool kit_wait(const bool *condition, const char *what);
/** The same for a counter that has to reach a number. */
bool kit_wait_count(const int *count, int wanted, const char *what);
/** Runs the main loop for this time, so that an event that must not arrive has the time to do so. */
void kit_run_loop(int milliseconds);

#ifdef __cplusplus
}
#endif

#endif
