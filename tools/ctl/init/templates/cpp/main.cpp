// @NAME@: connects to the agent, and connects again after each interruption.
#include "device.hpp"

#include <korvane_util.h>

#include <glib-unix.h>

#include <iostream>

namespace {

void on_state(korvane_util_state state, int result, korvane_h, void *)
{
    const korvane_util_result *reason = korvane_util_explain(result);
    std::cout << korvane_util_get_state_name(state) << ": " << (reason ? reason->cause : "another reason") << std::endl;
}

gboolean on_terminate(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop));
    return G_SOURCE_CONTINUE;
}

} // namespace

int main()
{
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    g_unix_signal_add(SIGTERM, on_terminate, loop);
    g_unix_signal_add(SIGINT, on_terminate, loop);
    korvane_util_connection_h connection = nullptr;
    if (korvane_util_connect(configure_device, on_state, nullptr, &connection) != KORVANE_ERROR_NONE)
        return 1;
    g_main_loop_run(loop);

    if (korvane_h device = korvane_util_get_handle(connection))
        korvane_stop(device);
    korvane_util_disconnect(connection);
    g_main_loop_unref(loop);
    return 0;
}
