// SPDX-License-Identifier: Apache-2.0
#include "access_points.hpp"

#include "connections.hpp"

namespace kv::test {

void require(bool holds, const char *what)
{
    if (!holds)
        fail(what);
}

std::vector<AccessPoint> access_points(int count)
{
    std::vector<AccessPoint> points;
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        const std::string digits = i < 10 ? "0" + number : number;
        points.push_back({"access-point-" + digits, "02:00:5e:00:00:" + digits, 1 + i % 13, -40 - i % 60});
    }
    return points;
}

ApiList::ApiList(const std::vector<AccessPoint> &points)
{
    require(korvane_aplist_create(&list_, static_cast<int>(points.size())) == 0, "api: no list");
    int worst = 0;
    int i = 0;
    for (const AccessPoint &point : points) {
        worst |= korvane_aplist_set_ssid(list_, i, point.ssid.c_str());
        worst |= korvane_aplist_set_bssid(list_, i, point.bssid.c_str());
        worst |= korvane_aplist_set_authtype(list_, i, authtype);
        worst |= korvane_aplist_set_enctype(list_, i, enctype);
        worst |= korvane_aplist_set_channel(list_, i, point.channel);
        worst |= korvane_aplist_set_signal_level(list_, i, point.signal_level);
        worst |= korvane_aplist_set_max_rate(list_, i, max_rate);
        ++i;
    }
    require(worst == 0, "api: a list cannot be filled");
}

void ApiList::send(korvane_h handle) const
{
    require(korvane_send_ap_list(handle, list_, request_id) == 0, "api: the call failed");
}

} // namespace kv::test
