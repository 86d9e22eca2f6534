// SPDX-License-Identifier: Apache-2.0
#include "agent_start.hpp"

#include "common/agent_state.hpp"
#include "tools/ctl/process/loop.hpp"

#include <rpc_port.h>

#include <glib.h>

#include <new>
#include <utility>

namespace kv::ctl {

AgentStart::~AgentStart()
{
    if (failure_ != 0)
        g_source_remove(failure_);
    if (proxy_)
        rpc_port_proxy_destroy(proxy_);
}

void AgentStart::begin(std::function<void(bool)> on_result)
{
    on_result_ = std::move(on_result);
    if (rpc_port_proxy_create(&proxy_) != 0)
        throw std::bad_alloc{};
    rpc_port_proxy_add_connected_event_cb(
        proxy_,
        [](const char *, const char *, rpc_port_h, void *self) {
            Loop::guard([self] { static_cast<AgentStart *>(self)->end(true); });
        },
        this);
    const auto rejected = [](const char *, const char *, void *self) {
        Loop::guard([self] { static_cast<AgentStart *>(self)->end(false); });
    };
    rpc_port_proxy_add_rejected_event_cb(proxy_, rejected, this);
    if (rpc_port_proxy_connect(proxy_, KORVANE_AGENT_APPID, KORVANE_AGENT_PORT) == 0)
        return;
    failure_ = g_idle_add(
        [](gpointer self) -> gboolean {
            static_cast<AgentStart *>(self)->failure_ = 0;
            Loop::guard([self] { static_cast<AgentStart *>(self)->end(false); });
            return G_SOURCE_REMOVE;
        },
        this);
}

void AgentStart::end(bool listens)
{
    rpc_port_proxy_destroy(std::exchange(proxy_, nullptr));
    std::exchange(on_result_, nullptr)(listens);
}

} // namespace kv::ctl
