// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/interface/methods.hpp"
#include "agent/journal/journal.hpp"
#include "faults.hpp"

#include <optional>

namespace kv::virtual_agent {

/// The journal's entry of a request and its reply. It keeps their bytes, which are decoded when the entry is read.
class CallFacts final : public Facts {
public:
    std::shared_ptr<const std::string> peer{};
    int id = -1;
    const MethodEntry *method = nullptr; // null for an unknown id
    std::string request{};
    std::string reply{}; // empty if there was none
    std::int64_t duration_us = 0;
    std::optional<Fault::Form> fault{};
    std::string problem{};

    Json json() const override;
    std::string words() const override;
    std::size_t bytes() const override { return sizeof *this + request.size() + reply.size() + problem.size(); }

private:
    Json shown_arguments() const;
    Json shown_reply() const;
};

} // namespace kv::virtual_agent
