// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values.hpp"

namespace kv::test {

/// The number of the delegate under test in golden parcels, and of a second delegate of the same method.
inline constexpr int seq_71 = 71;
inline constexpr int seq_72 = 72;

/// The values of the calls of a delegate, one text per call.
using Seen = std::vector<std::string>;

/// A callback for every delegate type. Notes the values of the event.
template <class... Values>
void note(void *seen, Values... values)
{
    std::string text;
    ((text += separator(!text.empty()) + shown(values)), ...);
    static_cast<Seen *>(seen)->push_back(text);
}

/// A delegate: the request that carries it and an event for it.
struct GoldenDelegate {
    int id;
    std::string type;
    std::string method; // the method that carries it
    bool once;          // the flag that this library sends
    Bytes request;
    int (*carry)(ProxyHandle proxy, Seen &seen); // creates it with number 71 and invokes the method
    kv::proxy::Delegate *(*create)(Seen &seen);
    int (*dispose)(ProxyHandle proxy, kv::proxy::Delegate *delegate);
    Bytes values; // values of the event
    std::string text;
};

inline std::ostream &operator<<(std::ostream &out, const GoldenDelegate &delegate)
{
    return out << delegate.type;
}

std::vector<GoldenDelegate> golden_delegates();

} // namespace kv::test
