/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_TEST_H
#define KORVANE_TEST_H

#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * A private virtual agent for a test of an application.
 *
 * It runs as a process of its own, in temporary directories that nobody else sees, and is gone with the test. What is
 * written here is plain C; korvane_test.hpp has the same for C++.
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
 * Whatever waits runs the GLib main context of the calling thread, so that the application's callbacks come meanwhile.
 * One agent at a time in a process; all from one thread.
 */
typedef struct korvane_test_agent_s korvane_test_agent;

/** How the agent is to be. Zero means what is said for each; the structure may be NULL for all of it. */
typedef struct {
    const char *version; /**< the version to be, "1.0" to "2.3"; NULL for the newest */
    const char
        *program; /**< the agent's program; NULL for KORVANE_AGENT of the environment, else korvane-agent on the PATH */
    const char *const *arguments; /**< more of its arguments, a list that ends with NULL; NULL for none */
    const char *directory;        /**< where its files are: an existing directory, which stays. An agent that is started
                                       where another has been is the same one to the application, replaced. NULL for a
                                       temporary one, which is removed with the agent */
} korvane_test_options;

/**
 * Starts an agent and waits until it is ready.
 *
 * Sets KORVANE_PACKAGE_DIR and KORVANE_RUNTIME_DIR of this process to the agent's directories until it is stopped, so
 * that korvane_initialize() finds it.
 *
 * @param options copied; may be NULL
 * @return the agent, to be given to korvane_test_stop(); NULL when it cannot be started or does not become ready within
 *         ten seconds: korvane_test_problem(NULL) says why
 */
korvane_test_agent *korvane_test_start(const korvane_test_options *options);

/** Ends the agent, waits for its end and removes its directories. NULL is nothing to end. */
void korvane_test_stop(korvane_test_agent *agent);

/**
 * Carries out a command, as `korvane-agent --help` lists them.
 *
 * @return the answer as a JSON object, to be given to free(); NULL when the command was refused or the agent has died:
 *         korvane_test_problem() says why
 */
char *korvane_test_ask(korvane_test_agent *agent, const char *command);

/** The same when the answer does not matter. @return false when the command was refused */
bool korvane_test_tell(korvane_test_agent *agent, const char *command);

/**
 * Waits until the application has called a method.
 *
 * Calls are looked at in the order in which they came, each once: the next wait goes on behind the one that was found.
 *
 * @param method the method's name, as the agent's log shows it
 * @param with what its arguments must hold, a JSON object; NULL for any
 * @param within_ms how long to wait at most, in milliseconds
 * @return false when it was not called so in time
 */
bool korvane_test_wait_for_call(korvane_test_agent *agent, const char *method, const char *with, int within_ms);

/**
 * Waits until the agent's state is such.
 *
 * @param path where to look in what the command `state` shows: "setup.networks.0.ssid"; a last "#" counts
 * @param value what must be there, as JSON: "true", "\"home\"", "{\"at_least\":2}"
 * @param within_ms how long to wait at most, in milliseconds
 * @return false when it does not become so in time
 */
bool korvane_test_until(korvane_test_agent *agent, const char *path, const char *value, int within_ms);

/** How often a method was called since the agent was started. */
int korvane_test_count_calls(korvane_test_agent *agent, const char *method);

/**
 * Plays a scenario to its end.
 *
 * @param path the scenario's file
 * @param within_ms how long it may take, in milliseconds
 * @return false when a step of it failed, or it has a mistake
 */
bool korvane_test_play(korvane_test_agent *agent, const char *path, int within_ms);

/**
 * Runs the main context until something has become true.
 *
 * @param so asked again whenever something has happened, with the user data
 * @return false when it has not become true in time
 */
bool korvane_test_run_until(bool (*so)(void *user_data), void *user_data, int within_ms);

/** What went wrong last, as a sentence; empty when nothing has. Valid until the next call. NULL: with starting. */
const char *korvane_test_problem(const korvane_test_agent *agent);

/** The agent's directory: its log is agent.log, what it complains of is agent.err. Valid until it is stopped. */
const char *korvane_test_directory(const korvane_test_agent *agent);

/** The agent's process. */
int korvane_test_pid(const korvane_test_agent *agent);

#ifdef __cplusplus
}
#endif

#endif
