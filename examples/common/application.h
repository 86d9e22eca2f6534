/* SPDX-License-Identifier: Apache-2.0 */
/* What the examples share: a line for each step, the life of the connection, the manners of the command line. */
#ifndef EXAMPLES_APPLICATION_H
#define EXAMPLES_APPLICATION_H

#include <korvane.h>

#include <glib.h>

/* NOT_REACHED also stands for a wrong command line: nothing has been tried then. */
enum exit_status { DONE = 0, STEP_FAILED = 1, NOT_REACHED = 2, LINK_BROKEN = 3 };

struct application {
    /* The link is up: register callbacks, tell the agent what it must know, start the service. */
    void (*ready)(korvane_h device, void *user_data);
    /* The link is gone and all that was registered with it; may be NULL. Also called at the end. */
    void (*lost)(void *user_data);
    void *user_data;
    /* An agent that goes away or is replaced does not end the application: it connects to the new one. */
    bool stay;
};

/* Runs until the end, and says what the process's exit status is to be. SIGTERM and SIGINT stop the service first. */
int run_application(const struct application *application);

/* Ends the application from inside the main loop. */
void end_application(enum exit_status status);

/* The live handle while the link is up, else NULL. */
korvane_h connected_device(void);

/* Prints what happens, and when: "HH:MM:SS.uuuuuu  what: how". Bytes that are no printable text appear as \xNN: much of
 * it comes from outside, and a line must stay a line. */
void say(const char *what, const char *how, ...) G_GNUC_PRINTF(2, 3);

/* Prints a step with its result, and says whether it was a success. */
bool step(const char *what, int result);
const char *name_of(int result);

/* A call of the library, as a row of a table; a row without a name ends the table. */
struct call {
    const char *name;
    int (*make)(korvane_h device, void *user_data);
};

/* Makes the calls one after another and prints each result. What the installed agent is too old for is left out. A call
 * that fails costs no other, but makes DONE a STEP_FAILED in the end. false when there is no use in going on, because
 * the link broke or the agent is being replaced. */
bool make_calls(korvane_h device, const struct call *calls, void *user_data);

/* Starts the service. Nothing works without it, so a refusal ends the application. */
bool start_service(korvane_h device);

/* Reads the options; false, with a message on stderr, when the command line is wrong. --help ends the process. */
bool parse_command_line(int *argc, char ***argv, const GOptionEntry *options, const char *summary);
/* The message for an option whose value makes no sense. */
void wrong_command_line(const char *problem, ...) G_GNUC_PRINTF(1, 2);

#endif
