/* SPDX-License-Identifier: Apache-2.0 */
#include "kit.h"

#include <stdio.h>

static GOptionEntry entries[] = {
    {"agent-program", 0, 0, G_OPTION_ARG_STRING, &kit_options.agent_program,
     "Command that runs the kit's agent (default: the platform starts the agent when a proxy connects)", "COMMAND"},
    {"agent-id", 0, 0, G_OPTION_ARG_STRING, &kit_options.agent_id,
     "Application id of the kit's agent (default: org.korvane.platform-kit)", "ID"},
    {"port", 0, 0, G_OPTION_ARG_STRING, &kit_options.port_name, "Port of the kit's agent (default: kit)", "NAME"},
    {"package", 0, 0, G_OPTION_ARG_STRING, &kit_options.package, "An installed package, for the checks of packages",
     "ID"},
    {"package-version", 0, 0, G_OPTION_ARG_STRING, &kit_options.version, "The version of that package", "VERSION"},
    {"publish", 0, 0, G_OPTION_ARG_STRING, &kit_options.publish_command,
     "Command that announces the start of an update, for the checks of application events", "COMMAND"},
    {"reply-timeout", 0, 0, G_OPTION_ARG_INT, &kit_options.reply_timeout_ms,
     "The platform's timeout for a reply in milliseconds (default: 0, none)", "MS"},
    {"timeout", 0, 0, G_OPTION_ARG_INT, &kit_timeout_s, "Seconds after which a check gives up (default: 30)",
     "SECONDS"},
    {NULL, 0, 0, 0, NULL, NULL, NULL},
};

int main(int argc, char **argv)
{
    kit_options.agent_id = g_strdup("org.korvane.platform-kit");
    kit_options.port_name = g_strdup("kit");

    GOptionContext *context = g_option_context_new("- check an implementation of the platform functions");
    g_option_context_add_main_entries(context, entries, NULL);
    g_option_context_set_ignore_unknown_options(context, TRUE);
    g_option_context_set_description(context,
                                     "The options of GLib's test programs select and list checks: -l lists them,\n"
                                     "-p /parcels runs those below /parcels, -s /app-events leaves them out.\n"
                                     "The exit status is 0 if no check failed.\n");
    GError *error = NULL;
    const gboolean is_parsed = g_option_context_parse(context, &argc, &argv, &error);
    g_option_context_free(context);
    if (!is_parsed) {
        fprintf(stderr, "%s: %s; see --help\n", g_get_prgname(), error->message);
        g_error_free(error);
        return 2;
    }

    /* After a failed comparison a check continues, so that one run shows all differences. */
    g_test_init(&argc, &argv, NULL);
    g_test_set_nonfatal_assertions();
    if (argc > 1) {
        fprintf(stderr, "%s: unknown argument '%s'; see --help\n", g_get_prgname(), argv[1]);
        return 2;
    }
    kit_add_log_checks();
    kit_add_package_checks();
    kit_add_app_event_checks();
    kit_add_parcel_checks();
    kit_add_connection_checks();
    kit_add_destruction_checks();
    kit_add_exchange_checks();
    kit_add_delivery_checks();
    const int result = g_test_run();
    if (kit_options.agent_program)
        kit_stop_agent();
    return result;
}
