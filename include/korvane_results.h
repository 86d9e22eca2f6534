/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_RESULTS_H
#define KORVANE_RESULTS_H

/**
 * @file korvane_results.h
 * @brief The result codes of korvane.h in words.
 *
 * KORVANE_RESULTS(X) expands to X(NAME, CAUSE, REMEDY) for each value KORVANE_ERROR_NAME of enum korvane_error. CAUSE is why
 * a function returns the code, REMEDY what the application or its user can do. Both are string literals, phrases without
 * a capital and a stop:
 * @code
 * static const char *cause_of(int result)
 * {
 *     switch (result) {
 * #define CAUSE_CASE(name, cause, remedy) case KORVANE_ERROR_##name: return cause;
 *         KORVANE_RESULTS(CAUSE_CASE)
 *     default: return "another code";
 *     }
 * }
 * @endcode
 *
 * The header has no code of its own: an application that includes it links nothing more. korvane_util_explain() finds the
 * same texts at run time.
 */
/* clang-format off */
#define KORVANE_RESULTS(X) \
    X(NONE, \
      "the function succeeded", \
      "nothing to do") \
    X(INVALID_PARAMETER, \
      "an argument is NULL or out of range, a handle is not live, or it was made for another agent version", \
      "correct the argument that the log names; after an update of the agent, destroy its handles and create new ones") \
    X(OUT_OF_MEMORY, \
      "the library could not allocate memory", \
      "release memory, then repeat the call") \
    X(PERMISSION_DENIED, \
      "the agent denied the request, or the platform denied the connection", \
      "give the application the permission; a retry alone does not help") \
    X(IO_ERROR, \
      "the link to the agent failed during the call", \
      "connect again and repeat the registrations; the agent may have carried out the request") \
    X(NO_DATA, \
      "no sub-device is registered", \
      "register a sub-device first") \
    X(NOT_SUPPORTED, \
      "no agent is installed", \
      "install the agent") \
    X(OPERATION_FAILED, \
      "the agent replied with a failure or with an invalid reply, or it is not connected", \
      "wait for the connection; otherwise the error lines of the log have the reason") \
    X(SERVICE_UNAVAILABLE, \
      "the agent is being updated, or cannot be reached", \
      "try again when the update has ended") \
    X(AGENT_VERSION_LOWER, \
      "the installed agent is too old for the function, or its version cannot be read", \
      "leave the call out, or update the agent")
/* clang-format on */

#endif
