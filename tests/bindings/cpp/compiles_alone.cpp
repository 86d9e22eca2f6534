// SPDX-License-Identifier: Apache-2.0
// Uses each kind of function of the C++ API. It only has to compile, without warnings.
#include <korvane.hpp>
#include <korvane_util.hpp>

namespace {

void use(korvane::Device &device)
{
    auto opened = korvane::Device::open([](korvane::ConnectionStatus, std::error_code) {});
    if (opened)
        device = *std::move(opened);
    if (const auto id = device.get_device_id())
        (void)id->size();
    auto status = device.on_status_changed([](int) {});
    auto pin = device.on_pin([](std::string_view, int) {}, [] {});
    auto devices = device.on_cloud_device_list([](const korvane::TextList &) {});
    auto access_point = device.on_wifi_ap_provisioning(
        [](const korvane::ChosenAccessPoint &chosen) { (void)chosen.ssid().value_or("none"); });
    korvane::CloudInfo info;
    info.user_id = "user";
    (void)device.sign_up_cloud(info, korvane::IfTooOld::leave_out);
    (void)device.set_language_list({"en-GB", "ko-KR"});
    (void)device.get_group_id([](std::string_view) {});
    if (status.ok() && pin.ok() && devices.ok() && access_point.ok())
        access_point->keep();
}

void supervise()
{
    auto opened = korvane::SupervisedConnection::open([](korvane::Device &device) { return device.start(); },
                                                      [](korvane::SupervisedState, std::error_code) {});
    if (!opened)
        return;
    korvane::SupervisedConnection connection = *std::move(opened);
    if (korvane::Device *device = connection.device())
        use(*device);
    connection.connect_now();
    connection.close();
}

#ifdef KORVANE_HAS_COROUTINES
korvane::Task ask(korvane::Device &device)
{
    const korvane::Result<std::string> group = co_await device.get_group_id();
    (void)group.ok();
}
#endif

} // namespace

void use_korvane_hpp(korvane::Device &device);
void use_korvane_hpp(korvane::Device &device)
{
    use(device);
    supervise();
#ifdef KORVANE_HAS_COROUTINES
    ask(device);
#endif
}
