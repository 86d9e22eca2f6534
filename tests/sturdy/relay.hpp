// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/support/child_process.hpp"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kv::sturdy {

/// The two links of a connection, in the order in which an application opens them, and the two directions of each.
inline constexpr std::size_t link_count = 2;
enum Direction : std::size_t { to_agent, to_application, direction_count };

enum class Fault {
    none,
    cut,    // both ends are closed
    stall,  // nothing more passes in this direction
    trickle // one byte passes every 20 ms
};

/// What the relay does, in memory that it shares with the program that controls it.
struct RelayState {
    std::atomic<int> session;
    std::atomic<Fault> fault;
    std::atomic<std::size_t> link;
    std::atomic<std::size_t> direction;
    std::atomic<std::int64_t> at;          // the byte of the direction after which the fault begins
    std::atomic<std::int64_t> happened_ns; // on the steady clock; 0 until then
    std::array<std::array<std::atomic<std::int64_t>, direction_count>, link_count> passed; // bytes of this session
};

/// A process between applications and an agent that passes on the bytes of the links until a fault.
class Relay {
public:
    /// Serves the path and connects to the agent's socket for each client.
    Relay(const std::string &served, const std::string &agent);
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;
    ~Relay();

    /// The next connection of an application has this fault.
    void begin(Fault fault, std::size_t link = 0, std::size_t direction = 0, std::int64_t at = 0);
    std::int64_t passed(std::size_t link, std::size_t direction) const;
    /// The time of the fault on the steady clock in nanoseconds; 0 if it has not happened.
    std::int64_t happened_ns() const { return state_->happened_ns; }

private:
    RelayState *state_;
    test::FileDescriptor listener_;
    std::optional<test::ChildProcess> process_;
};

} // namespace kv::sturdy
