// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "examples_fixture.hpp"

namespace kv::test {

class Washer : public Example {
protected:
    static std::vector<std::string> with_short_join(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.end(), {"--join-ms", "1"});
        return arguments;
    }

    /// The command that emits the phone's choice of a network, as an agent of this version sends it.
    static std::string choice_of(const std::string &version, const std::string &ssid, const std::string &password)
    {
        if (version < "1.3")
            return R"(emit wifi_ap_provisioning_cb [{"ssid":")" + ssid + R"(","pwd":")" + password + R"("}])";
        return R"(emit wifi_ap_prov_with_candidates_cb [{"ap_ssid":")" + ssid + R"(","ap_pwd":")" + password + R"("}])";
    }

    const std::string washer = KORVANE_WASHER_PATH;
};

struct WasherWithAgent : Washer, testing::WithParamInterface<const char *> {
    const std::string version = GetParam();
};

} // namespace kv::test
