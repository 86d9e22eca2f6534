// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <korvane.h>

#include <string>
#include <vector>

// The list of access points that clients send.
namespace kv::test {

inline constexpr int request_id = 7;
inline constexpr int authtype = 3;
inline constexpr int enctype = 4;
inline constexpr int max_rate = 54;

struct AccessPoint {
    std::string ssid;
    std::string bssid;
    int channel;
    int signal_level;
};

std::vector<AccessPoint> access_points(int count);

/// Throws std::runtime_error unless `holds`.
void require(bool holds, const char *what);

/// A list of the library, in the wire format of the installed agent.
class ApiList {
public:
    explicit ApiList(const std::vector<AccessPoint> &points);
    ApiList(const ApiList &) = delete;
    ApiList &operator=(const ApiList &) = delete;
    ~ApiList() { korvane_aplist_destroy(list_); }

    void send(korvane_h handle) const;

private:
    korvane_aplist_h list_ = nullptr;
};

} // namespace kv::test
