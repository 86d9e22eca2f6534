// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sched.h>

namespace kv::test {

/// Restricts this process, and the children it starts, to one CPU as long as the object exists.
class OnOneCpu {
public:
    OnOneCpu();
    OnOneCpu(const OnOneCpu &) = delete;
    OnOneCpu &operator=(const OnOneCpu &) = delete;
    ~OnOneCpu();

private:
    cpu_set_t previous_{};
};

} // namespace kv::test
