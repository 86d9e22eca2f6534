// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values.hpp"

namespace kv::test {

/// The number that the delegate in question has in golden parcels, and that of the one that goes with it.
inline constexpr int seq_71 = 71;
inline constexpr int seq_72 = 72;

/// What a delegate was called with, one text per call.
using Seen = std::vector<std::string>;

/// A callback for every delegate type: notes the event's values.
template <class... Values>
void note(void *seen, Values... values)
{
    std::string text;
    ((text += separator(!text.empty()) + shown(values)), ...);
    static_cast<Seen *>(seen)->push_back(text);
}

/// One delegate: the request that carries it, and an event for it.
struct GoldenDelegate {
    int id;
    std::string type;
    std::string method; // that carries it
    bool once;          // as this library sends it
    Bytes request;
    int (*carry)(ProxyHandle proxy, Seen &seen); // makes it, numbered 71, and invokes the method
    kv::proxy::Delegate *(*create)(Seen &seen);
    int (*dispose)(ProxyHandle proxy, kv::proxy::Delegate *delegate);
    Bytes values; // of the event
    std::string text;
};

inline std::ostream &operator<<(std::ostream &out, const GoldenDelegate &delegate)
{
    return out << delegate.type;
}

std::vector<GoldenDelegate> golden_delegates();

} // namespace kv::test
