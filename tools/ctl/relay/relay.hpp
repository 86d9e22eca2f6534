// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent_start.hpp"
#include "link.hpp"
#include "traffic.hpp"

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace kv::ctl {

/// Serves the agent's port in a directory of its own and connects each link of an application to the agent that serves the
/// port in the runtime directory of this process. An agent that does not listen is started if its package entry says how;
/// otherwise the application's link is closed.
class Relay {
public:
    /// `directory` exists and belongs to this user alone. Throws Failure if the port cannot be served there.
    Relay(const std::string &directory, Traffic &traffic);
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;
    /// Ends all links.
    ~Relay();

    /// Checks whether the agent listens, and starts it if it does not. Throws Failure if no application can reach it.
    void require_agent();
    bool has_links() const { return !links_.empty(); }
    /// Runs the callback whenever the last link has ended.
    void on_idle(std::function<void()> callback) { on_idle_ = std::move(callback); }

private:
    void take_lock(const std::string &path);
    void listen(const std::string &path);
    static gboolean on_incoming(GSocketService *service, GSocketConnection *connection, GObject *source, gpointer self);
    /// Connects to the agent for an application's link, or starts the agent.
    void connect(Ref<GSocketConnection> to_application);
    void connect_waiting(bool listens);
    void join(Ref<GSocketConnection> to_application, Ref<GSocketConnection> to_agent);

    Traffic &traffic_;
    std::string agent_path_;
    int lock_ = -1;
    Ref<GSocketService> service_{};
    AgentStart start_{};
    std::vector<Ref<GSocketConnection>> waiting_{}; // for an agent that is being started
    std::set<std::shared_ptr<Link>> links_{};
    int next_number_ = 1;
    std::function<void()> on_idle_ = [] {};
};

} // namespace kv::ctl
