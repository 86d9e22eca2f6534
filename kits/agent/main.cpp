// SPDX-License-Identifier: Apache-2.0
#include "checks.hpp"
#include "connection.hpp"

#include "common/agent_state.hpp"
#include "kits/common/check.h"

#include <package_info.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace {

using kv::agent_kit::options;

char *agent_id = nullptr;
char *port_name = nullptr;
char *version = nullptr;

const GOptionEntry entries[] = {
    {"agent-id", 0, 0, G_OPTION_ARG_STRING, &agent_id,
     "Package and application id of the agent (default: org.korvane.agent)", "ID"},
    {"port", 0, 0, G_OPTION_ARG_STRING, &port_name, "Port of the agent (default: kv_master)", "NAME"},
    {"agent-version", 0, 0, G_OPTION_ARG_STRING, &version, "Version of the agent (default: that of its package)",
     "MAJOR.MINOR"},
    {"timeout", 0, 0, G_OPTION_ARG_INT, &kit_timeout_s, "Seconds after which a check gives up (default: 30)",
     "SECONDS"},
    {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
};

int usage_error(const char *text, const char *value)
{
    std::fprintf(stderr, "%s: %s%s; see --help\n", g_get_prgname(), text, value);
    return 2;
}

/// The version of the installed package; empty if there is none.
std::string installed_version()
{
    package_info_h info = nullptr;
    char *text = nullptr;
    if (package_info_create(options.agent_id.c_str(), &info) != 0)
        return {};
    const bool is_read = package_info_get_version(info, &text) == 0;
    package_info_destroy(info);
    const std::unique_ptr<char, decltype(&std::free)> owned{text, std::free};
    return is_read ? owned.get() : "";
}

} // namespace

int main(int argc, char **argv)
{
    GOptionContext *context = g_option_context_new("- check an agent against the interface kv_master");
    g_option_context_add_main_entries(context, entries, nullptr);
    g_option_context_set_ignore_unknown_options(context, TRUE);
    g_option_context_set_description(
        context,
        "The checks call every method: the agent is started, reset and stopped. Do not check a device in use.\n"
        "The options of GLib's test programs select and list checks: -l lists them,\n"
        "-p /methods runs those below /methods, -s /malformed leaves them out.\n"
        "The exit status is 0 if no check failed.\n");
    GError *error = nullptr;
    const bool is_parsed = g_option_context_parse(context, &argc, &argv, &error) != FALSE;
    g_option_context_free(context);
    if (!is_parsed) {
        const int status = usage_error("", error->message);
        g_error_free(error);
        return status;
    }

    // After a failed comparison a check continues, so that one run shows all differences.
    g_test_init(&argc, &argv, nullptr);
    g_test_set_nonfatal_assertions();
    if (argc > 1)
        return usage_error("unknown argument ", argv[1]);
    if (agent_id)
        options.agent_id = agent_id;
    if (port_name)
        options.port_name = port_name;
    const std::string text = version ? version : installed_version();
    if (text.empty())
        return usage_error(
            "no installed package gives the agent's version: install one, or use --agent-version; it is ",
            options.agent_id.c_str());
    int major = -1;
    int minor = -1;
    if (std::sscanf(text.c_str(), "%d.%d", &major, &minor) != 2 || major < 0 || minor < 0 || minor > 999)
        return usage_error("not a version MAJOR.MINOR: ", text.c_str());
    options.version = 1000 * major + minor;

    kv::agent_kit::add_session_checks();
    kv::agent_kit::add_method_checks();
    kv::agent_kit::add_document_checks();
    kv::agent_kit::add_malformed_request_checks();
    return g_test_run();
}
