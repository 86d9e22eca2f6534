/* SPDX-License-Identifier: Apache-2.0 */
#include <korvane_util.h>

#include <stddef.h>

static const struct korvane_util_result results[] = {
    {KORVANE_ERROR_NONE, "NONE", "the function succeeded", "nothing to do"},
    {KORVANE_ERROR_INVALID_PARAMETER, "INVALID_PARAMETER",
     "an argument is NULL or out of range, a handle is not live, or it was made for another agent version",
     "the log names the argument; after an update of the agent, make the handle again"},
    {KORVANE_ERROR_OUT_OF_MEMORY, "OUT_OF_MEMORY", "the library could not allocate memory",
     "release memory and try again"},
    {KORVANE_ERROR_PERMISSION_DENIED, "PERMISSION_DENIED",
     "the agent denied the request, or the platform the connection",
     "give the application the permission; a retry alone does not help"},
    {KORVANE_ERROR_IO_ERROR, "IO_ERROR", "the link to the agent failed during the call",
     "connect again and repeat the registrations; the agent may have carried out the request or not"},
    {KORVANE_ERROR_NO_DATA, "NO_DATA", "no sub-device is registered", "register a sub-device first"},
    {KORVANE_ERROR_NOT_SUPPORTED, "NOT_SUPPORTED", "no agent is installed", "install the agent"},
    {KORVANE_ERROR_OPERATION_FAILED, "OPERATION_FAILED",
     "the agent replied with a failure or with an invalid reply, or it is not connected",
     "wait for the connection; otherwise the agent's log has the reason"},
    {KORVANE_ERROR_SERVICE_UNAVAILABLE, "SERVICE_UNAVAILABLE", "the agent is being updated, or cannot be reached",
     "connect again when the update has ended"},
    {KORVANE_ERROR_AGENT_VERSION_LOWER, "AGENT_VERSION_LOWER",
     "the installed agent is too old for the function, or its version cannot be read",
     "leave the call out, or update the agent"},
};

const struct korvane_util_result *korvane_util_explain(int code)
{
    for (size_t i = 0; i < sizeof results / sizeof *results; ++i)
        if (results[i].code == code)
            return &results[i];
    return NULL;
}
