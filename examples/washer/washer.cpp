// SPDX-License-Identifier: Apache-2.0
// The setup of the washer in C++: what main.c, setup.c, wifi.c and identity.c show, without files and certificates.
#include <korvane_util.hpp>

#include <glib-unix.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using korvane::Errc;

/// Sent to the agent, which passes them on to the phone.
enum WifiError { network_not_found = 1, wrong_password = 2, request_unreadable = 3 };

struct Network {
    korvane::AccessPoint access_point;
    std::string password;
};

/// What the simulated radio receives, strongest first.
std::vector<Network> scan()
{
    const auto network = [](const char *ssid, const char *bssid, int channel, int frequency, int signal,
                            const char *password) {
        Network made;
        made.access_point.ssid = ssid;
        made.access_point.bssid = bssid;
        made.access_point.authtype = *password ? 4 : 0;
        made.access_point.channel = channel;
        made.access_point.frequency = frequency;
        made.access_point.signal_level = signal;
        made.password = password;
        return made;
    };
    return {network("home", "02:00:00:00:00:01", 6, 2437, -48, "laundry day"),
            network("home", "02:00:00:00:00:02", 44, 5220, -61, "laundry day"),
            network("café", "02:00:00:00:00:03", 11, 2462, -77, "")};
}

/// Prints a step with its result. A call that the installed agent is too old for is no failure.
template <class Value>
bool step(const korvane::Result<Value> &result)
{
    std::printf("%s: %s\n", std::string{result.function()}.c_str(), result.name());
    std::fflush(stdout);
    return result.ok() || result.error() == Errc::agent_version_lower;
}

class Washer {
public:
    explicit Washer(unsigned join_ms) : join_ms_(join_ms) {}
    Washer(const Washer &) = delete;
    Washer &operator=(const Washer &) = delete;
    ~Washer()
    {
        cancel_join();
        g_main_loop_unref(loop_);
    }

    int run()
    {
        g_unix_signal_add(SIGTERM, on_terminate, this);
        auto opened = korvane::SupervisedConnection::open(
            [this](korvane::Device &device) { return configure(device); },
            [this](korvane::SupervisedState state, std::error_code reason) { state_changed(state, reason); });
        if (!step(opened))
            return 2;
        connection_ = *std::move(opened);
        g_main_loop_run(loop_);
        return status_;
    }

private:
    /// Runs after each connection, because a new connection has no registrations.
    korvane::Result<void> configure(korvane::Device &device)
    {
        follow_events(device);
        describe_device(device);
        const auto started = device.start();
        const bool link_broke = started.error() == Errc::io_error || started.error() == Errc::service_unavailable;
        if (!step(started) && !link_broke)
            end(1);
        return started;
    }

    void state_changed(korvane::SupervisedState state, std::error_code reason)
    {
        std::printf("connection: %s, %s\n", korvane::state_name(state), korvane::code_name(reason.value()));
        std::fflush(stdout);
        if (state == korvane::SupervisedState::connected)
            step(connection_.device()->get_device_id());
        else if (state == korvane::SupervisedState::refused)
            end(2);
    }

    /// Registrations end with the session, so the device keeps them until then.
    template <class... Subscriptions>
    void keep(Subscriptions... made)
    {
        (..., (step(made) && made.ok() ? made->keep() : void()));
    }

    void follow_events(korvane::Device &device)
    {
        keep(device.on_user_confirm([&device] { step(device.send_user_confirm(true)); }),
             device.on_reset_confirm([&device] { step(device.send_reset_confirm(true)); }),
             device.on_pin([](std::string_view pin,
                              int) { std::printf("display: PIN %.*s\n", static_cast<int>(pin.size()), pin.data()); },
                           [] { std::puts("display: dark"); }),
             device.on_ultrasound_pin([](std::string_view, int) { std::puts("loudspeaker: plays"); },
                                      [] { std::puts("loudspeaker: silent"); }),
             device.on_provisioning_language([&device](unsigned req_id, std::string_view, std::string_view language) {
                 step(device.send_provisioning_language_setting_result(req_id, speaks(language)));
             }),
             device.on_provisioning_get_requested([&device](std::string_view, int) {
                 step(device.set_provisioning_vendor_info(R"({"model":"WM-7"})"));
             }),
             device.on_otm_support_feature([](int feature) { std::printf("feature: %d\n", feature); }),
             device.on_device_provisioning([](const korvane::DeviceProvisioning &info) {
                 std::printf("country: %s\n", info.country().value_or("unknown").c_str());
             }),
             device.on_scan_ap([&device](int req_id) { send_scan(device, req_id); }),
             device.on_wifi_ap_provisioning([this](const korvane::ChosenAccessPoint &chosen) { choose(chosen); }),
             device.on_tnc_result([](std::string_view) { std::puts("terms: answered"); }),
             device.on_stop_soft_ap([] { std::puts("soft access point: stopped"); }));
    }

    static void describe_device(korvane::Device &device)
    {
        const auto property = device.set_device_property_with_wifi_authtype("Washer", 0x0b, 0x03, {0, 4, 5});
        step(property.error() == Errc::agent_version_lower ? device.set_device_property("Washer", 0x0b, 0x03)
                                                           : property);
        korvane::PlatformInfo platform;
        platform.model_number = "WM-7";
        platform.platform_version = "4";
        platform.firmware_version = "4.1.2";
        step(device.set_platform_info(platform, korvane::IfTooOld::leave_out));
        korvane::DeviceProfileInfo profile;
        profile.nick = "Washer";
        profile.serial_number = "WM7-000001";
        step(device.set_device_profile_info(profile, korvane::IfTooOld::leave_out));
        step(device.set_language_list(languages));
        step(device.set_easysetup_version_info("1.0"));
    }

    static bool speaks(std::string_view language)
    {
        return std::find(languages.begin(), languages.end(), language) != languages.end();
    }

    static void send_scan(korvane::Device &device, int req_id)
    {
        std::vector<korvane::AccessPoint> list;
        for (const Network &network : scan())
            list.push_back(network.access_point);
        step(device.send_ap_list(list, req_id, korvane::IfTooOld::leave_out));
    }

    void choose(const korvane::ChosenAccessPoint &chosen)
    {
        cancel_join(); // the user has chosen again
        const auto ssid = chosen.ssid();
        if (!ssid) {
            report(request_unreadable);
            return;
        }
        ssid_ = *ssid;
        password_ = chosen.password().value_or("");
        join_timer_ = g_timeout_add(join_ms_, on_join_ends, this);
    }

    /// Reports the outcome of joining, after the time that joining takes.
    void end_join()
    {
        join_timer_ = 0;
        const auto found = scan();
        const auto network = std::find_if(found.begin(), found.end(),
                                          [this](const Network &each) { return each.access_point.ssid == ssid_; });
        if (network == found.end())
            report(network_not_found);
        else if (network->password != password_)
            report(wrong_password);
        else
            std::printf("joined: %s\n", ssid_.c_str());
        password_.clear();
    }

    /// The connection may have been lost while the washer joined.
    void report(WifiError error)
    {
        if (korvane::Device *device = connection_.device())
            step(device->set_wifi_connection_error_code(error));
    }

    void cancel_join()
    {
        if (join_timer_ != 0)
            g_source_remove(join_timer_);
        join_timer_ = 0;
    }

    void end(int status)
    {
        status_ = status;
        g_main_loop_quit(loop_);
    }

    static gboolean on_join_ends(gpointer self)
    {
        static_cast<Washer *>(self)->end_join();
        return G_SOURCE_REMOVE;
    }
    static gboolean on_terminate(gpointer self)
    {
        auto &washer = *static_cast<Washer *>(self);
        korvane::Device *device = washer.connection_.device();
        washer.end(device && step(device->stop()) ? 0 : 1);
        return G_SOURCE_CONTINUE;
    }

    static inline const std::vector<std::string> languages{"en-GB", "en-US", "de-DE", "fr-FR", "ko-KR"};

    GMainLoop *loop_ = g_main_loop_new(nullptr, FALSE);
    unsigned join_ms_;
    int status_ = 0;
    guint join_timer_ = 0;
    std::string ssid_{};
    std::string password_{};
    korvane::SupervisedConnection connection_{};
};

} // namespace

int main(int argc, char **argv)
{
    unsigned join_ms = 500;
    if (argc == 3 && std::strcmp(argv[1], "--join-ms") == 0) {
        join_ms = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
    } else if (argc != 1) {
        std::fprintf(stderr, "usage: %s [--join-ms N]\n", argv[0]);
        return 2;
    }
    return Washer{join_ms}.run();
}
