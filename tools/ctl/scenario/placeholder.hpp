// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::ctl {

/// A recorded scenario has a placeholder for each value that the journal does not show, such as a secret.
std::string placeholder(const std::string &name);

/// Describes each placeholder in a scenario file: "setup.json, line 9: replace \"FILL IN: pin\"". A file that cannot be
/// read has none; the agent reports it.
std::vector<std::string> placeholders_in(const std::string &path);

/// Throws UsageError, which describes each placeholder in these files, if there is one.
void refuse_placeholders(const std::vector<std::string> &paths);

} // namespace kv::ctl
