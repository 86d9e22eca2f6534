// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/server/faults.hpp"
#include "agent/server/stub.hpp"
#include "journal.hpp"

#include <optional>

namespace kv::virtual_agent {

/// A request and what became of it, as the bytes that were exchanged: they are decoded when somebody asks.
class CallFacts final : public Facts {
public:
    std::shared_ptr<const std::string> peer{};
    int id = -1;
    const MethodEntry *method = nullptr; // none for an id that is unknown
    std::string request{};
    std::string reply{}; // empty when there was none
    std::int64_t duration_us = 0;
    std::optional<Fault::Form> fault{};
    std::string problem{};

    Json json() const override;
    std::string words() const override;
    std::size_t bytes() const override { return sizeof *this + request.size() + reply.size() + problem.size(); }

private:
    Json arguments() const;
    Json answer() const;
};

} // namespace kv::virtual_agent
