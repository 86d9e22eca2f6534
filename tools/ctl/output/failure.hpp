// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace kv::ctl {

enum ExitStatus { done = 0, failed = 1, wrong_usage = 2, no_agent = 3 };

/// Ends the program with a sentence on stderr and this status.
struct Failure : std::runtime_error {
    Failure(ExitStatus how, const std::string &what) : std::runtime_error{what}, status(how) {}

    ExitStatus status;
};

/// The command line is wrong; nothing was done.
struct UsageError : Failure {
    explicit UsageError(const std::string &what) : Failure{wrong_usage, what} {}
};

} // namespace kv::ctl
