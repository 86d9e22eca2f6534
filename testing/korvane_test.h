/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_TEST_H
#define KORVANE_TEST_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @file
 * A private virtual agent for unit tests of an application.
 *
 * The agent runs as a child process with its own temporary directories, so that no other process sees it. It ends with
 * the test, even if the test crashes. Link `korvane-test` beside `korvane`. korvane_test.hpp is the same for C++.
 *
 *     korvane_test_agent *agent = korvane_test_start(NULL);
 *     korvane_h device = my_device_connect();                  // the application's own code
 *     korvane_test_wait_for_call(agent, "start", NULL, 2000);  // runs the main loop meanwhile
 *     korvane_test_tell(agent, "phone connect");
 *     korvane_test_tell(agent, "phone scan");
 *     if (!korvane_test_until(agent, "setup.networks.#", "3", 2000))
 *         puts(korvane_test_problem(agent));
 *     korvane_test_stop(agent);
 *
 * Every function that waits runs the thread-default GLib main context of the calling thread, so that the callbacks of
 * the application run meanwhile. Do not call the functions of this header from such a callback: the agent replies in
 * order, and the outer call would receive the reply to the inner one.
 *
 * A process can have one agent at a time. Call all functions from the thread that called korvane_test_start().
 *
 * Commands, methods, events and the members of the state are those of the virtual agent: `korvane-agent --help` lists
 * them.
 */

/** A running virtual agent. Created by korvane_test_start(), released by korvane_test_stop(). */
typedef struct korvane_test_agent_s korvane_test_agent;

/** Options of korvane_test_start(). A member that is NULL has its default. */
typedef struct {
    /** The agent's version, "1.0" to "2.3". Default: the newest. */
    const char *version;
    /** The path of the agent's program. Default: the value of the environment variable KORVANE_AGENT; if that is not
     *  set, `korvane-agent`, searched in PATH. */
    const char *program;
    /** Further arguments for the program: an array that ends with NULL. Default: none. */
    const char *const *arguments;
    /** An existing directory for the agent's files. It is not removed. To the application an agent that is started in the
     *  directory of an earlier one is the same agent, restarted. Default: a temporary directory, which is removed when
     *  the agent is stopped. */
    const char *directory;
} korvane_test_options;

/**
 * Starts an agent and waits until it is ready.
 *
 * Sets the environment variables KORVANE_PACKAGE_DIR and KORVANE_RUNTIME_DIR of this process, so that
 * korvane_initialize() finds this agent. korvane_test_stop() restores their previous values.
 *
 * @param options  read during the call only; NULL for all defaults
 *
 * @return the agent, to be released with korvane_test_stop(); NULL if the program cannot be run, refuses its arguments or
 *         is not ready within 30 seconds. korvane_test_problem(NULL) then describes the failure.
 */
korvane_test_agent *korvane_test_start(const korvane_test_options *options);

/**
 * Kills the agent, waits until its process has ended and removes its temporary directory.
 *
 * @param agent  released; pointers that korvane_test_problem() and korvane_test_directory() returned for it become
 *               invalid. Does nothing if NULL.
 */
void korvane_test_stop(korvane_test_agent *agent);

/**
 * Runs a command of the agent and returns its reply. Waits up to 30 seconds for it.
 *
 * @param agent    a running agent
 * @param command  one line, for example "emit status_changed_cb [2]" or "state setup"
 *
 * @return the reply as a JSON object, to be released with free(); NULL if the agent refuses the command, does not reply
 *         in time or has ended. korvane_test_problem() then describes the failure.
 */
char *korvane_test_ask(korvane_test_agent *agent, const char *command);

/**
 * Runs a command of the agent, as korvane_test_ask(), without its reply.
 *
 * @param agent    a running agent
 * @param command  one line
 *
 * @return true if the command succeeded; otherwise korvane_test_problem() describes the failure
 */
bool korvane_test_tell(korvane_test_agent *agent, const char *command);

/**
 * Waits until the application has called a method.
 *
 * Searches the calls in the order in which the agent received them, beginning after the call that the previous wait
 * found, or with the first call. Calls before the one that is found are skipped. A call that has already been received
 * is found at once.
 *
 * @param agent      a running agent
 * @param method     the method's name, as in the agent's log
 * @param with       a JSON object of arguments that the call must have; it may have others besides. NULL: any arguments
 * @param within_ms  the longest wait in milliseconds, 0 to 600000
 *
 * @return true if such a call was found; otherwise korvane_test_problem() names the call that was nearest
 */
bool korvane_test_wait_for_call(korvane_test_agent *agent, const char *method, const char *with, int within_ms);

/**
 * Waits until a member of the agent's state has a value.
 *
 * @param agent      a running agent
 * @param path       the path of the member in the reply to the command `state`, for example "setup.networks.0.ssid". A
 *                   last part "#" stands for the number of elements of an array or object.
 * @param value      the expected value as JSON, for example "true", "\"home\"" or "{\"at_least\":2}"
 * @param within_ms  the longest wait in milliseconds
 *
 * @return true if the member got the value; otherwise korvane_test_problem() describes the difference
 */
bool korvane_test_until(korvane_test_agent *agent, const char *path, const char *value, int within_ms);

/**
 * Counts the calls of a method since the agent was started.
 *
 * @param agent   a running agent
 * @param method  the method's name, as in the agent's log
 *
 * @return the number of calls; 0 also if the agent does not reply, when korvane_test_problem() is not empty
 */
int korvane_test_count_calls(korvane_test_agent *agent, const char *method);

/**
 * Runs a scenario to its end.
 *
 * @param agent      a running agent
 * @param path       the path of the scenario's file
 * @param within_ms  the longest time the scenario may take in milliseconds; it is stopped after that
 *
 * @return true if all steps succeeded; otherwise korvane_test_problem() names the step that failed, or the mistake in
 *         the file
 */
bool korvane_test_play(korvane_test_agent *agent, const char *path, int within_ms);

/**
 * Runs the main loop until a condition holds.
 *
 * @param condition  called with `user_data` after each dispatch and every few milliseconds; returns whether it holds
 * @param user_data  passed to `condition`; may be NULL
 * @param within_ms  the longest wait in milliseconds
 *
 * @return true if the condition holds; false if it does not within that time
 */
bool korvane_test_run_until(bool (*condition)(void *user_data), void *user_data, int within_ms);

/**
 * Describes the last failure.
 *
 * @param agent  a running agent; NULL for the last call of korvane_test_start()
 *
 * @return a sentence, or an empty string if the last call succeeded. Valid until the next call for this agent.
 */
const char *korvane_test_problem(const korvane_test_agent *agent);

/**
 * Returns the agent's directory. It contains agent.log, the journal as lines of JSON, and agent.err, what the agent wrote
 * to standard error.
 *
 * @param agent  a running agent
 *
 * @return a path; valid until the agent is stopped
 */
const char *korvane_test_directory(const korvane_test_agent *agent);

/**
 * Returns the process id of the agent, for example to kill it.
 *
 * @param agent  a running agent
 *
 * @return the process id; valid until the agent is stopped, even if the process has ended
 */
int korvane_test_pid(const korvane_test_agent *agent);

#ifdef __cplusplus
}
#endif

#endif
