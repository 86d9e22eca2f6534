// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cloud_fixture.hpp"

/// A table of the cloud functions that ask the agent, with their requests.
namespace kv::test {

/// The objects that such functions take, filled for an agent 2.3.
struct CloudObjects {
    korvane_cloud_info_h cloud_info = nullptr;
    korvane_platform_info_h platform_info = nullptr;
    korvane_last_status_info_h last_status = nullptr;
    korvane_device_profile_info_h profile = nullptr;
    korvane_tnc_info_h terms = nullptr;

    void create();
    void destroy();
};

struct CloudRequest {
    std::string name;
    int minimum_version;
    int method;
    int (*call)(korvane_h handle, const CloudObjects &objects);
    Bytes arguments = {};      // arguments of the request except the delegate
    Bytes outs = {};           // out values of a successful reply
    std::string progress = ""; // the log line before the send
    int delegate = 0;          // delegate type of the last argument; 0 if there is none
    bool once = false;
    int same_form_since = 1000; // the lowest agent with the same wire format as agent 2.3
};

std::ostream &operator<<(std::ostream &out, const CloudRequest &request);

extern const std::vector<CloudRequest> cloud_requests;

} // namespace kv::test
