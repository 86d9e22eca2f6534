// SPDX-License-Identifier: Apache-2.0
// A first device in C++: connects to the agent, starts the device service and stops it again. See README.md.
#include <korvane.hpp>

#include <glib-unix.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>

namespace {

enum ExitStatus { done = 0, step_failed = 1, not_reached = 2, link_broken = 3 };

/// Prints a step with its result. Returns whether it succeeded.
template <class Value>
bool step(const char *what, const korvane::Result<Value> &result)
{
    std::printf("%s: %s\n", what, result.name());
    std::fflush(stdout);
    return result.ok();
}

class FirstDevice {
public:
    explicit FirstDevice(bool stay) : stay_(stay) {}
    FirstDevice(const FirstDevice &) = delete;
    FirstDevice &operator=(const FirstDevice &) = delete;
    ~FirstDevice() { g_main_loop_unref(loop_); }

    int run()
    {
        g_unix_signal_add(SIGTERM, on_signal, this);
        g_unix_signal_add(SIGINT, on_signal, this);
        auto opened = korvane::Device::open(
            [this](korvane::ConnectionStatus status, std::error_code reason) { connection_changed(status, reason); });
        if (!step("initialize", opened))
            return not_reached;
        device_ = *std::move(opened);
        g_main_loop_run(loop_);
        step("deinitialize", device_.close());
        return status_;
    }

private:
    void connection_changed(korvane::ConnectionStatus status, std::error_code reason)
    {
        const bool connected = status == korvane::ConnectionStatus::connected;
        std::printf("%s: %s\n", connected ? "connected" : "not connected", korvane::code_name(reason.value()));
        if (connected)
            run_service();
        else if (status == korvane::ConnectionStatus::rejected)
            end(not_reached);
        else if (stay_)
            g_timeout_add(100, on_retry, this);
        else
            end(link_broken);
    }

    void run_service()
    {
        const auto started = device_.start();
        step("start", started);
        if (started.error() == korvane::Errc::io_error)
            return; // the connection handler follows
        if (!started) {
            end(step_failed);
            return;
        }
        if (const auto id = device_.get_device_id(); step("get_device_id", id))
            std::printf("device id: %s\n", id->c_str());
        if (!stay_)
            end(step("stop", device_.stop()) ? done : step_failed);
    }

    void end(ExitStatus status)
    {
        status_ = status;
        g_main_loop_quit(loop_);
    }

    /// Begins another session, which finds the new agent. While the agent is being replaced, every call fails with
    /// service_unavailable; the former session is kept until then, because it receives the end of the update.
    static gboolean on_retry(gpointer self)
    {
        korvane::Device &device = static_cast<FirstDevice *>(self)->device_;
        if (device.get_easysetup_status().error() == korvane::Errc::service_unavailable)
            return G_SOURCE_CONTINUE;
        return step("reopen", device.reopen()) ? G_SOURCE_REMOVE : G_SOURCE_CONTINUE;
    }

    static gboolean on_signal(gpointer self)
    {
        auto &device = *static_cast<FirstDevice *>(self);
        device.end(step("stop", device.device_.stop()) ? done : step_failed);
        return G_SOURCE_CONTINUE;
    }

    GMainLoop *loop_ = g_main_loop_new(nullptr, FALSE);
    bool stay_;
    ExitStatus status_ = done;
    korvane::Device device_{};
};

} // namespace

int main(int argc, char **argv)
{
    return FirstDevice{argc > 1 && std::strcmp(argv[1], "--stay") == 0}.run();
}
