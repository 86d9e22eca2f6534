// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "testing/support/child_process.hpp"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kv::test {

using Environment = std::map<std::string, std::optional<std::string>>;

/// Starts a program whose standard error is that of this process.
std::unique_ptr<ChildProcess> start(const std::vector<std::string> &words, const Environment &environment = {});
/// Waits for the next line of a program's output. Throws std::runtime_error if there is none.
std::string next_line(ChildProcess &process);
/// Waits until a program has ended and returns the rest of its output. Throws std::runtime_error unless its exit status
/// is 0.
std::string rest_of_output(ChildProcess &process);
/// Starts a program and does both.
std::string run(const std::vector<std::string> &words, const Environment &environment = {});

/// Private memory of a process in kB.
double private_kb(pid_t pid);

} // namespace kv::test
