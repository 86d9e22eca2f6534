// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/output.hpp"

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kv::ctl {

/// Shared by all verbs.
struct Context {
    Output out;
    std::vector<std::string> program; // the words behind "--": a program and its arguments
};

/// One verb of korvanectl.
struct Verb {
    const char *name;
    const char *help;
    const char *usage;    // the rest of the usage line, after name and options
    const char *examples; // one in each line
    /// Declares the options and returns the function that runs the verb.
    std::function<int()> (*set_up)(CLI::App &app, Context &context);
    bool takes_program = false; // allows words behind "--"
    /// Completes the last of the words behind the verb; null if the shell shall complete file names.
    std::vector<std::string> (*complete)(const std::vector<std::string> &words) = nullptr;
    const char *alias = nullptr; // a former name, which the help does not show
};

} // namespace kv::ctl
