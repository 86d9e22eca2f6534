// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setup_fixture.hpp"

/// The events of the easy setup: one row per pair of set and unset functions, and per wire generation.
namespace kv::test {

/// One event of a pair.
struct PairEvent {
    int delegate_id;
    Bytes values;
    std::string seen; // by the application's callback
    LogLines lines;   // of its trampoline
};

struct Pair {
    std::string label; // in the test's name
    std::string event; // korvane_set_<event>_cb
    int minimum_version;
    std::string agent_version; // one that speaks the generation of this row
    int (*set)(korvane_h handle, Recorder *recorder);
    int (*unset)(korvane_h handle);
    int set_method;
    int unset_method;
    std::vector<PairEvent> events; // in the order in which the set method takes their delegates
    bool keeps_refused_delegate = true;

    std::string set_name() const { return "korvane_set_" + event; }
    std::string unset_name() const { return "korvane_unset_" + event; }
};

extern const std::vector<Pair> setup_pairs;

inline std::ostream &operator<<(std::ostream &out, const Pair &pair)
{
    return out << pair.label;
}

} // namespace kv::test
