// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/cli/command_line.hpp"

namespace kv::ctl {

extern const Verb init_verb;
extern const Verb agent_verb;
extern const Verb do_verb;
extern const Verb journal_verb;
extern const Verb run_verb;
extern const Verb test_verb;
extern const Verb report_verb;
extern const Verb record_verb;
extern const Verb top_verb;
extern const Verb trace_verb;
extern const Verb call_verb;
extern const Verb functions_verb;
extern const Verb info_verb;
extern const Verb doctor_verb;
extern const Verb completion_verb;
extern const Verb help_verb;

/// All verbs, in the order in which the help lists them.
inline const Verbs all_verbs{
    &init_verb, &agent_verb, &do_verb,   &journal_verb,   &run_verb,  &test_verb,   &report_verb,     &record_verb,
    &top_verb,  &trace_verb, &call_verb, &functions_verb, &info_verb, &doctor_verb, &completion_verb, &help_verb,
};

} // namespace kv::ctl
