// @NAME@: connects to the agent, and connects again after each interruption.
#include "device.hpp"

#include <korvane_util.hpp>

#include <glib-unix.h>

#include <iostream>

namespace {

void on_state(korvane::SupervisedState state, std::error_code reason)
{
    std::cout << korvane::state_name(state) << ": " << korvane::code_text(reason.value()) << std::endl;
}

void on_exception(std::string_view callback, std::exception_ptr exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception &error) {
        std::cerr << callback << ": " << error.what() << std::endl;
    }
}

gboolean on_terminate(gpointer loop)
{
    g_main_loop_quit(static_cast<GMainLoop *>(loop));
    return G_SOURCE_CONTINUE;
}

} // namespace

int main()
{
    korvane::set_exception_handler(on_exception); // the device continues if a handler fails
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    g_unix_signal_add(SIGTERM, on_terminate, loop);
    g_unix_signal_add(SIGINT, on_terminate, loop);
    auto connection = korvane::SupervisedConnection::open(configure_device, on_state);
    if (!connection) {
        std::cerr << connection.error().message() << std::endl;
        return 1;
    }
    g_main_loop_run(loop);

    if (korvane::Device *device = connection->device())
        (void)device->stop();
    connection->close();
    g_main_loop_unref(loop);
    return 0;
}
