// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "play.hpp"

#include <optional>

namespace kv::virtual_agent {

/// The scenario that is played, or was last: there is one at a time.
class Plays {
public:
    Plays() = default;
    Plays(const Plays &) = delete;
    Plays &operator=(const Plays &) = delete;

    /// Throws std::invalid_argument while another one is played. `ended` is told, as by Play, how it went.
    void start(Steered &agent, Scenario scenario, Play::Ended ended = {});
    /// Throws std::invalid_argument when nothing is played.
    void stop();

    /// null when nothing was ever played.
    Json view() const;

private:
    std::optional<Play> play_{};
    std::string problem_{};
};

} // namespace kv::virtual_agent
