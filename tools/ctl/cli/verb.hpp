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

struct Context {
    Output out;
    std::vector<std::string> program; // behind "--": a program to run, and its arguments
};

/// One thing that korvanectl can do. It names its options and gives back what is to be run.
struct Verb {
    const char *name;
    const char *help;
    const char *examples; // a line each
    std::function<int()> (*set_up)(CLI::App &app, Context &context);
    bool runs_program = false; // takes a program behind "--"
};

extern const Verb agent_verb;
extern const Verb do_verb;
extern const Verb log_verb;
extern const Verb run_verb;
extern const Verb record_verb;
extern const Verb top_verb;
extern const Verb trace_verb;
extern const Verb call_verb;
extern const Verb functions_verb;
extern const Verb doctor_verb;
extern const Verb completion_verb;

} // namespace kv::ctl
