// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "play.hpp"

#include <optional>

namespace kv::virtual_agent {

/// Plays one scenario at a time and keeps the result of the last one.
class ScenarioPlayer final : public ScenarioControl {
public:
    ScenarioPlayer() = default;
    ScenarioPlayer(const ScenarioPlayer &) = delete;
    ScenarioPlayer &operator=(const ScenarioPlayer &) = delete;

    /// Sets the agent that scenarios control; to be called once, before anything is played.
    void control(ControlledAgent &agent) { agent_ = &agent; }

    /// Throws std::invalid_argument while another scenario is played or if this one is not meant for the agent's version. `ended` is called as Play describes.
    void start(Scenario scenario, Play::Ended ended = {});

    void start_file(const std::string &path) override { start(Scenario::load(path)); }
    void start(const cJSON *scenario) override { start(Scenario::from_json(scenario)); }
    void stop() override;
    /// null if none was ever played.
    Json view() const override;
    void become(const std::string &personality) override;
    Json personalities() const override;

private:
    ControlledAgent *agent_ = nullptr;
    std::optional<Play> play_{};
    std::string problem_{};
};

} // namespace kv::virtual_agent
