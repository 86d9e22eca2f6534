// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace kv::ctl {

/// Exit statuses of korvanectl.
enum ExitStatus { done = 0, failed = 1, wrong_usage = 2, no_agent = 3 };

/// An error that ends the program. main() prints the message to stderr and exits with the status.
struct Failure : std::runtime_error {
    Failure(ExitStatus how, const std::string &what) : std::runtime_error{what}, status(how) {}

    ExitStatus status;
};

/// An error in the command line, found before anything was done.
struct UsageError : Failure {
    explicit UsageError(const std::string &what) : Failure{wrong_usage, what} {}
};

} // namespace kv::ctl
