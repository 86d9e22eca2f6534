// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace kv::ctl {

/// The languages in which applications can be written: "c", "c++", "python".
std::vector<std::string> application_languages();

/// Creates a directory of this name, writes an application into it and returns the names of its files. Throws UsageError if
/// the name is not valid, and Failure if the directory exists or cannot be written.
std::vector<std::string> write_application(const std::string &name, const std::string &language);

} // namespace kv::ctl
