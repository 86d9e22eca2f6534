// SPDX-License-Identifier: Apache-2.0
// secrets_device DIRECTORY
//
// A device that sends every planted secret to the agent, each time it has connected. It replies to the phone, connects
// again when it has lost the agent, and ends with SIGTERM. DIRECTORY has the file `request` with a signing request; the
// device adds `certificate`, `stored_certificate` and `token`, which it receives. It prints "ready" when all requests of a
// connection have completed.
#include "planted.hpp"
#include "testing/support/read_file.hpp"

#include <korvane.h>

#include <glib-unix.h>
#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <sys/stat.h>

using namespace kv::test;

namespace {

constexpr auto ignore = [](auto...) {};
constexpr unsigned pause_ms = 50; // before the next attempt to connect

struct Device {
    explicit Device(std::filesystem::path chosen) : directory(std::move(chosen)) {}

    std::filesystem::path directory;
    GMainLoop *loop = g_main_loop_new(nullptr, false);
    korvane_h handle = nullptr;
    bool is_stopped = false;
    int pending = 0; // one-shot requests

    void store(const char *name, const char *text) const { std::ofstream{directory / name} << (text ? text : ""); }
};

Device &device_at(void *data)
{
    return *static_cast<Device *>(data);
}

void complete(Device &device)
{
    if (--device.pending > 0)
        return;
    std::puts("ready");
    std::fflush(stdout);
}

// ---- requests --------------------------------------------------------------------------------------------------------

void sign_up(korvane_h handle)
{
    korvane_cloud_info_h info = nullptr;
    korvane_cloudinfo_create(&info);
    korvane_cloudinfo_set_region(info, "eu");
    korvane_cloudinfo_set_access_token(info, value_of("access_token").c_str());
    korvane_cloudinfo_set_refresh_token(info, value_of("refresh_token").c_str());
    korvane_cloudinfo_set_user_id(info, value_of("user_id").c_str());
    korvane_cloudinfo_set_client_id(info, value_of("client_id").c_str());
    korvane_sign_up_cloud(handle, info);
    korvane_cloudinfo_destroy(info);
}

void send_profile(korvane_h handle)
{
    korvane_device_profile_info_h info = nullptr;
    korvane_device_profile_info_create(&info);
    korvane_device_profile_info_set_push_reg_id(info, value_of("push_registration").c_str());
    korvane_set_device_profile_info(handle, info);
    korvane_device_profile_info_destroy(info);
}

void send_terms(korvane_h handle)
{
    korvane_tnc_info_h info = nullptr;
    korvane_tnc_info_create(&info);
    korvane_tncinfo_set_header(info, value_of("terms_header").c_str());
    korvane_set_tnc_info(handle, info);
    korvane_tnc_info_destroy(info);
}

void send_networks(korvane_h handle, int request, void *)
{
    korvane_aplist_h list = nullptr;
    korvane_aplist_create(&list, 1);
    korvane_aplist_set_ssid(list, 0, "home");
    korvane_aplist_set_bssid(list, 0, "00:11:22:33:44:55");
    korvane_send_ap_list(handle, list, request);
    korvane_aplist_destroy(list);
}

void take_stored_certificate(korvane_h, int, const char *certificate, const char *, void *data)
{
    device_at(data).store("stored_certificate", certificate);
    complete(device_at(data));
}

/// Requests the certificate again by the id that the text names.
void take_certificate(korvane_h handle, int, const char *text, void *data)
{
    Device &device = device_at(data);
    device.store("certificate", text);
    const std::string member = R"("certificate_arn":")";
    const std::string all = text;
    const std::size_t begin = all.find(member) + member.size();
    const std::string id = all.substr(begin, all.find('"', begin) - begin);
    if (korvane_get_hdr_certificate(handle, "washer", id.c_str(), take_stored_certificate, &device) != 0)
        complete(device);
}

void take_token(korvane_h, int, korvane_hdr_token_info_h info, void *data)
{
    char *token = nullptr;
    korvane_hdr_token_info_get_token(info, &token);
    device_at(data).store("token", token);
    std::free(token);
    complete(device_at(data));
}

/// An older agent has not all of them; then the call fails and nothing is sent.
void send_secrets(Device &device)
{
    korvane_h handle = device.handle;
    korvane_set_preconfigured_pin(handle, value_of("preconfigured_pin").c_str());
    korvane_set_random_pin(handle, value_of("random_pin").c_str());
    korvane_unset_random_pin(handle);
    korvane_set_provisioning_vendor_info(handle, value_of("vendor_info").c_str());
    korvane_set_sso_list(handle, value_of("sso_list").c_str());
    send_terms(handle);
    send_profile(handle);
    sign_up(handle);
    korvane_send_custom_push_msg(handle, ("\"" + value_of("push_message") + "\"").c_str());

    device.pending = 1; // this function
    const auto count = [&device](int result) { device.pending += result == KORVANE_ERROR_NONE ? 1 : 0; };
    const std::string data = R"({"value":")" + value_of("token_request") + R"("})";
    count(korvane_create_hdr_token_info_custom(handle, data.c_str(), take_token, &device));
    count(korvane_create_hdr_certificate(handle, "washer", read_file(device.directory / "request").c_str(),
                                         take_certificate, &device));
    complete(device);
}

void listen(korvane_h handle)
{
    korvane_set_user_confirm_cb(
        handle, [](korvane_h h, void *) { korvane_send_user_confirm(h, true); }, nullptr);
    korvane_set_scan_ap_cb(handle, send_networks, nullptr);
    korvane_set_status_changed_cb(handle, ignore, nullptr);
    korvane_set_pin_cb(handle, ignore, ignore, nullptr);
    korvane_set_ultrasound_pin_cb(handle, ignore, ignore, nullptr);
    korvane_set_wifi_ap_provisioning_cb(handle, ignore, nullptr);
    korvane_set_device_provisioning_cb(handle, ignore, nullptr);
    korvane_set_provisioning_vendor_info_cb(handle, ignore, nullptr);
    korvane_set_provisioning_get_requested_cb(handle, ignore, nullptr);
    korvane_set_tnc_result_cb(handle, ignore, nullptr);
    korvane_set_diagnostics_cb(handle, ignore, nullptr);
}

// ---- connections -----------------------------------------------------------------------------------------------------

void on_connection(int, korvane_h, int status, void *data)
{
    Device &device = device_at(data);
    if (status != KORVANE_CONNECTION_CONNECTED) {
        g_main_loop_quit(device.loop);
        return;
    }
    listen(device.handle);
    korvane_start(device.handle);
    send_secrets(device);
}

void connect(Device &device)
{
    if (korvane_initialize(&device.handle, on_connection, &device) != KORVANE_ERROR_NONE)
        return;
    g_main_loop_run(device.loop);
    korvane_deinitialize(device.handle);
}

void stay_connected(Device &device)
{
    g_unix_signal_add(
        SIGTERM,
        [](gpointer data) -> gboolean {
            device_at(data).is_stopped = true;
            g_main_loop_quit(device_at(data).loop);
            return G_SOURCE_CONTINUE;
        },
        &device);
    while (!device.is_stopped) {
        connect(device);
        if (device.is_stopped)
            break;
        g_timeout_add(
            pause_ms,
            [](gpointer data) -> gboolean {
                g_main_loop_quit(device_at(data).loop);
                return G_SOURCE_REMOVE;
            },
            &device);
        g_main_loop_run(device.loop);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: secrets_device DIRECTORY\n");
        return 2;
    }
    ::umask(077);
    Device device{argv[1]};
    stay_connected(device);
    g_main_loop_unref(device.loop);
    return 0;
}
