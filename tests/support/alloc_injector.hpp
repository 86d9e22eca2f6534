// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/*
 * Memory that runs out when a test says so. It sees malloc, calloc, realloc, strdup and free of everything that is
 * linked statically into the test (the link option --wrap), and cJSON's through its hooks. What shared libraries
 * allocate, GLib and the C++ runtime among them, is not seen: operator new in a test never fails.
 */
namespace kv::test::allocs {

/// The n-th allocation from now on fails, once; 1 is the next one.
void fail_nth(unsigned nth);
void stop_failing();
/// Whether an allocation was made to fail since fail_nth().
bool failed();

/// Blocks that were allocated and not freed.
std::size_t live_blocks();
/// The largest size that was asked for since reset_largest().
std::size_t largest();
void reset_largest();

/// The bytes that all live blocks take together, with what malloc adds to each; and the largest such sum since
/// reset_peak().
std::size_t live_bytes();
std::size_t peak_bytes();
void reset_peak();

/// While this is alive, an allocation is given the block of the same size that was freed last. Nothing is returned to
/// the real allocator meanwhile, so the sanitizers see no use of a freed block.
class ReuseBlocks {
public:
    ReuseBlocks();
    ~ReuseBlocks();
    ReuseBlocks(const ReuseBlocks &) = delete;
    ReuseBlocks &operator=(const ReuseBlocks &) = delete;
};

} // namespace kv::test::allocs
