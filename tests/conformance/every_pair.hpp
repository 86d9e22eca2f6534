// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setup_pairs.hpp"

/// All 23 pairs of set and unset functions; that of the access point stands twice, once for each wire generation.
namespace kv::test {

const std::vector<Pair> &every_pair();

class EveryPair : public SetupTest, public ::testing::WithParamInterface<Pair> {
protected:
    const Pair &pair() { return GetParam(); }

    /// Registered with its agent; the past is forgotten but for the numbers of the delegates.
    void begin_set()
    {
        connect_to(pair().agent_version);
        ASSERT_EQ(pair().set(handle, &recorder), KORVANE_ERROR_NONE);
        seq_id = first_seq_id();
        forget_the_past();
    }
    int first_seq_id() { return last_seq_id(platform.log) + 1 - static_cast<int>(pair().events.size()); }

    Bytes event_of(std::size_t i, int first_number)
    {
        const PairEvent &described = pair().events[i];
        return event(described.delegate_id, first_number + static_cast<int>(i), false, described.values);
    }
    /// One event of every kind is in the port, and the main loop has not come to it yet.
    void events_wait(int first_number)
    {
        for (std::size_t i = 0; i < pair().events.size(); ++i)
            platform.proxy().callback_port.push(event_of(i, first_number));
    }
    void main_loop_comes_to_them()
    {
        while (!platform.proxy().callback_port.incoming.empty())
            platform.proxy().fire_received();
    }
    std::vector<std::string> told_by_events()
    {
        std::vector<std::string> seen;
        for (const PairEvent &described : pair().events)
            seen.push_back(described.seen);
        return seen;
    }

    int seq_id = 0; // of the first delegate
};

} // namespace kv::test
