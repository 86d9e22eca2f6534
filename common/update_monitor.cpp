// SPDX-License-Identifier: Apache-2.0
#include "update_monitor.hpp"

#include "agent_state.hpp"
#include "log.hpp"

#include <glib.h>

#include <cstdint>
#include <cstring>

namespace kv {

namespace {

struct Failure {
    bool announced = false;
    std::int32_t code = 0; // 0 if the data is too short
};

bool has_text(bundle *data, const char *key)
{
    char *value = nullptr;
    return bundle_get_str(data, key, &value) == 0 && value;
}

bool has_text_array(bundle *data, const char *key)
{
    int length = 0;
    return bundle_get_str_array(data, key, &length) != nullptr;
}

Failure failure_in(bundle *data)
{
    Failure failure;
    void *bytes = nullptr;
    std::size_t size = 0;
    failure.announced = bundle_get_byte(data, "Fail", &bytes, &size) == 0;
    if (failure.announced && bytes && size >= sizeof failure.code) // data of no bytes may have a null pointer
        memcpy(&failure.code, bytes, sizeof failure.code);
    return failure;
}

/// Only an installation can have changed the version. The next call reads it again.
void end_update(bool complete)
{
    if (complete && agent.update == AgentState::installing)
        agent.version = 0;
    agent.update = AgentState::none;
}

} // namespace

void _update_status_event_cb(const char *event_name, bundle *event_data, void *)
{
    using common::log;

    log::info()(">>> called"_fmt);
    if (g_strcmp0(event_name, KORVANE_UPDATE_STATUS_EVENT) != 0)
        return;

    if (has_text_array(event_data, "Start")) {
        log::info()(">>>> Agent update is started"_fmt);
        agent.update = AgentState::started;
        return;
    }
    if (has_text(event_data, "Install")) {
        log::info()(">>>> Agent install is started"_fmt);
        agent.update = AgentState::installing;
        return;
    }

    const bool complete = has_text(event_data, "Complete");
    const Failure failure = failure_in(event_data);
    if (!complete && !failure.announced)
        return;
    if (complete)
        log::info()(">>>> Agent update is completed"_fmt);
    if (failure.announced)
        log::error()(">>>> Agent update is failed, update_err=[%d]"_fmt, failure.code);
    end_update(complete);
}

} // namespace kv
