// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/*
 * Memory that runs out when a test says so. It sees malloc, calloc, realloc, strdup and free of everything that is
 * linked statically into the test (the link option --wrap), and cJSON's through its hooks. What shared libraries
 * allocate, GLib and the C++ runtime among them, is not seen: operator new in a test never fails.
 */
namespace kv::test::allocs {

/// Makes the n-th allocation from now on fail, once; 1 is the next one.
void fail_nth(unsigned nth);
/// Makes every allocation fail until stop_failing().
void fail_all();
void stop_failing();
/// Whether an allocation has failed since fail_nth() or fail_all().
bool failed();

/// The number of blocks that are allocated and not freed.
std::size_t live_blocks();
/// The largest requested size since reset_largest().
std::size_t largest();
void reset_largest();

/// The bytes that all live blocks take together, with what malloc adds to each; and the largest such sum since
/// reset_peak().
std::size_t live_bytes();
std::size_t peak_bytes();
void reset_peak();

/// For its lifetime an allocation receives the block of the same size that was freed last. Freed blocks do not return
/// to the real allocator meanwhile, so the sanitizers see no use of a freed block.
class ReuseBlocks {
public:
    ReuseBlocks();
    ~ReuseBlocks();
    ReuseBlocks(const ReuseBlocks &) = delete;
    ReuseBlocks &operator=(const ReuseBlocks &) = delete;
};

} // namespace kv::test::allocs
