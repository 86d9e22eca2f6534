// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The agent's application id, for package manager and ports.
#define KORVANE_AGENT_APPID "org.korvane.agent"
/// The port on which the agent serves the kv_master interface.
#define KORVANE_AGENT_PORT "kv_master"
/// The service manager's event about updates of packages.
#define KORVANE_UPDATE_STATUS_EVENT "org.korvane.ServiceManager.UpdateStatus"

namespace kv {

/// A version as the gates compare it: 1000 x major + minor.
constexpr int since(int major, int minor)
{
    return 1000 * major + minor;
}

/// The minimum version of functions that every agent knows. An agent whose version cannot be read passes it.
inline constexpr int any_agent = 0;

/// The state of the installed agent, as far as this process knows it. Only the main-loop thread uses it.
struct AgentState {
    enum Support : int { unknown = -1, absent = 0, present = 1 };
    enum Update : int { none = 0, started = 1, installing = 2 };

    int support = unknown;
    int version = 0; // 0: not yet known
    int update = none;

    /// Asks the package manager whether the agent is installed. Only a definite "not installed" counts as absent.
    void determine_support();
    /// Returns the cached version, or reads it. Returns 0 if it cannot be read.
    int current_version();
};

extern AgentState agent;

/// Reads and caches the installed agent's version. Returns 0, and caches nothing, if it cannot be read.
int _get_agent_version();

} // namespace kv
