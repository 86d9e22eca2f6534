// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cloud_fixture.hpp"

/// The cloud functions that ask the agent, as a table of what they send.
namespace kv::test {

/// Objects that such functions take, filled in the form of an agent 2.3.
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
    Bytes arguments;           // without the delegate
    Bytes outs = {};           // of a good answer
    std::string progress = ""; // the line before the request is sent
    int delegate = 0;          // type of the one that goes last
    bool once = false;
    int same_form_since = 1000; // the lowest agent that takes the object in the form of an agent 2.3
};

std::ostream &operator<<(std::ostream &out, const CloudRequest &request);

extern const std::vector<CloudRequest> cloud_requests;

} // namespace kv::test
