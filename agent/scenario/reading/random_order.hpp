// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kv::virtual_agent {

/// Random numbers that follow from a seed alone: the generator splitmix64, which adds a constant to its state and mixes the
/// bits of the sum. A generator of the C++ library would give each machine its own order.
class RandomNumbers {
public:
    explicit RandomNumbers(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next()
    {
        state_ += 0x9e3779b97f4a7c15;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
        return mixed ^ (mixed >> 31);
    }

    /// A number below `bound`, each with the same probability. The last numbers, which would make the first ones more
    /// probable, are skipped.
    std::uint64_t below(std::uint64_t bound)
    {
        const std::uint64_t skipped = (0 - bound) % bound; // 2 to the power of 64, modulo `bound`
        std::uint64_t number = next();
        while (number > UINT64_MAX - skipped)
            number = next();
        return number % bound;
    }

private:
    std::uint64_t state_;
};

/// Puts items in a random order: the last one changes places with any of them, then the last but one with any before it
/// or itself, and so on.
template <class Item>
void shuffle(std::vector<Item> &items, RandomNumbers &numbers)
{
    for (std::size_t left = items.size(); left > 1; --left)
        std::swap(items[left - 1], items[static_cast<std::size_t>(numbers.below(left))]);
}

} // namespace kv::virtual_agent
