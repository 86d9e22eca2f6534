// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json.hpp"
#include "src/kv_master/codings.hpp"

#include <string>

namespace kv::ctl {

/// A value, with the name that its coding gives to a number: 4 (done). Without a coding the value alone.
std::string coded_text(const Json &value, const master::Coding *coding);
/// The values of a method or an event by name, numbers with their names: status 4 (done), result 0.
std::string coded_members_text(const Json &values, const std::string &owner);

} // namespace kv::ctl
