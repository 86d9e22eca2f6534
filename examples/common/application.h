/* SPDX-License-Identifier: Apache-2.0 */
/* Code that the examples share: a printed line for each step, the life of the connection, the command line. */
#ifndef EXAMPLES_APPLICATION_H
#define EXAMPLES_APPLICATION_H

#include <korvane.h>

#include <glib.h>

/* NOT_REACHED is also the status of a wrong command line. */
enum exit_status { DONE = 0, STEP_FAILED = 1, NOT_REACHED = 2, LINK_BROKEN = 3 };

struct application {
    /* Called after each connection: registers callbacks, describes the device, starts the service. Returns
     * KORVANE_ERROR_NONE, or the result that ended this. */
    int (*configure)(korvane_h device, void *user_data);
    /* Called when configure() has succeeded; may be NULL. */
    void (*connected)(korvane_h device, void *user_data);
    /* Called when the connection and its registrations are lost, and at the end; may be NULL. */
    void (*lost)(void *user_data);
    void *user_data;
    /* Reconnect when the agent ends or is replaced, instead of ending the application. */
    bool stay;
};

/* Runs the application with the supervised connection of libkorvane-util, and returns the exit status of the process. SIGTERM and SIGINT stop the service first. */
int run_application(const struct application *application);

/* Ends the main loop, and so the application. */
void end_application(enum exit_status status);

/* Returns the handle while the device is connected and configured, else NULL. */
korvane_h connected_device(void);

/* Prints a line with the time: "HH:MM:SS.uuuuuu  what: how". Bytes that are not printable text are printed as \xNN,
 * because the text may come from another process and must not break the line. */
void print(const char *what, const char *how, ...) G_GNUC_PRINTF(2, 3);

/* Prints a step with its result. Returns true for KORVANE_ERROR_NONE. */
bool step(const char *what, int result);
const char *name_of(int result);

/* A call of the library as a row of a table. A row without a name ends the table. */
struct call {
    const char *name;
    int (*make)(korvane_h device, void *user_data);
};

/* Makes the calls in order and prints each result. A call for which the installed agent is too old is skipped. After a
 * failed call the others are made nevertheless, and the exit status is STEP_FAILED instead of DONE. Returns
 * KORVANE_ERROR_NONE, or the result of a call that found the link broken or the agent being replaced; the remaining calls
 * are not made then. */
int make_calls(korvane_h device, const struct call *calls, void *user_data);

/* Starts the service and returns the result. Ends the application if the agent refuses. */
int start_service(korvane_h device);

/* Reads the options. Returns false, with a message on stderr, if the command line is wrong. --help ends the process. */
bool parse_command_line(int *argc, char ***argv, const GOptionEntry *options, const char *summary);
/* Prints the message for an option with a wrong value. */
void wrong_command_line(const char *problem, ...) G_GNUC_PRINTF(1, 2);

#endif
