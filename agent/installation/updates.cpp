// SPDX-License-Identifier: Apache-2.0
#include "updates.hpp"

#include "common/agent_state.hpp"

#include <app_event_publish.h>

#include <cstdint>

namespace kv::virtual_agent {

namespace {

/// The time between the announcement on the bus and the disconnection at the port. A real installer takes seconds;
/// without a pause the two could arrive in either order.
constexpr unsigned leave_after_ms = 100;

struct FreeBundle {
    void operator()(bundle *data) const { bundle_free(data); }
};
using Bundle = std::unique_ptr<bundle, FreeBundle>;

} // namespace

bool Updates::announce(const char *step, bundle *data)
{
    const bool announced = data && event_publish(KORVANE_UPDATE_STATUS_EVENT, data) == 0;
    journal_.write(Journal::now(), Json::object().set("update", step).set("announced", announced),
                   std::string{"update  "} + step + (announced ? "" : "  [not announced]"));
    return announced;
}

bool Updates::start()
{
    Bundle data{bundle_create()};
    const char *packages[] = {KORVANE_AGENT_APPID};
    bundle_add_str_array(data.get(), "Start", packages, 1);
    return announce("start", data.get());
}

bool Updates::install()
{
    Bundle data{bundle_create()};
    bundle_add_str(data.get(), "Install", KORVANE_AGENT_APPID);
    const bool announced = announce("install", data.get());
    if (!away_ && !leaving_.is_active())
        leaving_.call_after(leave_after_ms, [this] { leave(); });
    return announced;
}

// The package entry is written first: if that fails, the agent continues to serve as before.
void Updates::leave()
{
    package_.install_unstartable(state_.version);
    away_ = true;
    server_.stop();
}

// The port is opened first, because another agent may serve it now, and owns the package entry then.
void Updates::come_back(const Version &version)
{
    if (leaving_.is_active()) {
        leave();
        leaving_.cancel();
    }
    if (!away_)
        return;
    server_.listen();
    try {
        package_.install(version);
    } catch (...) {
        server_.stop();
        throw;
    }
    away_ = false;
}

bool Updates::complete(const Version &version)
{
    if (away_ || leaving_.is_active())
        come_back(version);
    else
        package_.install(version);
    state_.version = version;
    state_.running = false;
    state_.update_ready = false;

    Bundle data{bundle_create()};
    bundle_add_str(data.get(), "Complete", KORVANE_AGENT_APPID);
    return announce("complete", data.get());
}

bool Updates::fail(int code)
{
    come_back(state_.version);
    Bundle data{bundle_create()};
    const std::int32_t bytes = code;
    bundle_add_byte(data.get(), "Fail", &bytes, sizeof bytes);
    return announce("fail", data.get());
}

void Updates::kill()
{
    if (!away_)
        leave();
    leaving_.cancel();
}

void Updates::restart()
{
    kill();
    come_back(state_.version);
    state_.running = false;
}

} // namespace kv::virtual_agent
