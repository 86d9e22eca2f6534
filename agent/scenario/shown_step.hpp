// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenario.hpp"

namespace kv::virtual_agent {

/// A step in words, such as expect send_ap_list {"req_id":1}, for the journal, the state and the result of a scenario. A scenario contains passwords and PINs in plain
/// text; they are masked or left out here.
std::string in_words(const Scenario::Step &step);

/// The arguments that an expectation compares, with the secrets among them masked as the journal masks them in the actual
/// arguments of a call. Without a call all that may be secret is masked.
Json shown_expectation(const cJSON *arguments, const cJSON *actual = nullptr);

} // namespace kv::virtual_agent
