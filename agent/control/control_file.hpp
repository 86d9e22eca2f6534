// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/journal/journal.hpp"

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// Where the control API can be reached.
struct ControlPlace {
    std::string directory{};
    std::optional<int> port{}; // of 127.0.0.1
    std::string token{};       // for it

    std::string socket() const { return directory + "/control"; }
    std::string file() const { return directory + "/control.json"; }
    /// The address to be opened in a browser.
    std::string console() const;
};

/// The file that tells whoever may read it how the agent is reached: {"pid","version","socket","http":{"port","token"}}.
/// It is there while the agent is, and so is the socket.
class ControlFile {
public:
    /// Throws std::system_error when it cannot be written.
    ControlFile(ControlPlace place, const State &state, Journal &journal);
    ControlFile(const ControlFile &) = delete;
    ControlFile &operator=(const ControlFile &) = delete;
    ~ControlFile();

private:
    void write();

    ControlPlace place_;
    const State &state_;
    std::string told_version_{};
    Journal::Listener listener_;
};

} // namespace kv::virtual_agent
