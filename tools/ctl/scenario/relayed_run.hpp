// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "application_run.hpp"
#include "tools/ctl/process/child.hpp"
#include "tools/ctl/process/loop.hpp"
#include "tools/ctl/relay/relay.hpp"
#include "tools/ctl/relay/traffic.hpp"

#include <string>
#include <vector>

namespace kv::ctl {

/// Runs an application with a relay between it and the agent.
class RelayedRun {
public:
    RelayedRun();

    /// Runs until the application has ended. SIGINT and SIGTERM end the recording, and the application with SIGTERM. Throws
    /// Failure, with the status no_agent if there is no agent.
    void run(const Program &application);

    const Traffic &traffic() const { return traffic_; }

private:
    void end_when_idle();

    TemporaryDirectory directory_{};
    Traffic traffic_;
    Loop loop_{};
    Relay relay_{directory_.path(), traffic_};
    Child application_{};
};

} // namespace kv::ctl
