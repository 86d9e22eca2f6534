// SPDX-License-Identifier: Apache-2.0
#include "state.hpp"

#include "agent/interface/methods.hpp"

#include <glib.h>

#include <fstream>

namespace kv::virtual_agent {

namespace {

Json shown_arguments(const MethodEntry &method, const std::string &request)
{
    return method.show_arguments(parcel_of(request).get());
}

} // namespace

Json State::view() const
{
    Json devices = Json::object();
    for (const auto &[number, device] : sub_devices)
        devices.set(std::to_string(number).c_str(),
                    std::move(Json::object().set("device_id", device.device_id).set("presence", device.presence)));
    Json last = Json::object();
    for (const auto &[id, request] : last_requests)
        last.set(find_method(id)->name, shown_arguments(*find_method(id), request));

    Json all = Json::object();
    all.set("version", version.text())
        .set("device_id", device_id)
        .set("running", running)
        .set("update_ready", update_ready)
        .set("set_up", set_up)
        .set("owned", owned)
        .set("signed_up", signed_up)
        .set("signed_in", signed_in)
        .set("thing_status", thing_status)
        .set("setup", setup.view())
        .set("cloud", cloud.view())
        .set("nicks", by_number(nicks))
        .set("device_types", by_number(device_types))
        .set("sub_devices", std::move(devices))
        .set("last_requests", std::move(last));
    return all;
}

bool State::set_text(std::map<int, std::string> &texts, int device_no, std::string text)
{
    if (text.size() > max_kept_text || (texts.size() >= max_devices && texts.count(device_no) == 0))
        return false;
    texts[device_no] = std::move(text);
    return true;
}

void State::forget_owner()
{
    set_up = false;
    owned = false;
    signed_up = false;
    signed_in = false;
    thing_status = 0;
    nicks.clear();
}

std::string device_id_of_this_machine()
{
    std::string machine = "korvane-agent ";
    std::string id;
    if (std::ifstream{"/etc/machine-id"} >> id)
        machine += id;
    return uuid_of(machine);
}

std::string uuid_of(const std::string &name)
{
    std::unique_ptr<char, decltype(&g_free)> digest{g_compute_checksum_for_string(G_CHECKSUM_SHA1, name.c_str(), -1),
                                                    g_free};
    // A name-based UUID: version 5, variant 10xx.
    std::string uuid = digest.get();
    uuid.resize(32);
    uuid[12] = '5';
    uuid[16] = "89ab"[uuid[16] % 4];
    for (std::size_t dash : {8U, 13U, 18U, 23U})
        uuid.insert(dash, 1, '-');
    return uuid;
}

} // namespace kv::virtual_agent
