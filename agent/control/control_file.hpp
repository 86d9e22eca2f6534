// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/device/state.hpp"
#include "agent/journal/journal.hpp"

#include <optional>
#include <string>

namespace kv::virtual_agent {

/// The addresses of the control API.
struct ControlPlace {
    std::string directory{};
    std::optional<int> port{}; // of 127.0.0.1
    std::string token{};       // of that port

    std::string socket() const { return directory + "/control"; }
    std::string file() const { return directory + "/control.json"; }
    /// The URL of the console.
    std::string console() const;
};

/// The file control.json, readable by its owner only: {"pid","version","socket","http":{"port","token"}}. It exists while
/// the agent runs; the destructor removes it and the socket.
class ControlFile {
public:
    /// Throws std::runtime_error if it cannot be written.
    ControlFile(ControlPlace place, const State &state, Journal &journal);
    ControlFile(const ControlFile &) = delete;
    ControlFile &operator=(const ControlFile &) = delete;
    ~ControlFile();

private:
    void remove_left_overs() const;
    void write();

    ControlPlace place_;
    const State &state_;
    std::string written_version_{};
    Journal::Listener listener_;
};

} // namespace kv::virtual_agent
