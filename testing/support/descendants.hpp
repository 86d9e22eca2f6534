// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <vector>

#include <sys/types.h>

namespace kv::test {

/// Makes this process the parent of every orphan below it. A process whose parent has ended then remains a child of this
/// one, where child_processes() and end_descendants() find it.
void adopt_orphans();

/// Returns the children of this process, including those that have ended and are not reaped.
std::vector<pid_t> child_processes();

/// Reaps the children of this process that end within the timeout. Returns false if some still run after it.
bool reap_children(std::chrono::milliseconds timeout);

/// Ends every process below this one: SIGTERM first, SIGKILL if some still run after five seconds. Reaps all of them and
/// returns their number. Needs adopt_orphans().
int end_descendants();

} // namespace kv::test
