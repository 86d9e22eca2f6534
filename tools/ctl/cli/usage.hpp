// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kv::ctl {

/// Sets the usage line of a verb, or of the program: its name, "[OPTIONS]" and the arguments.
void set_usage(CLI::App &app, const std::string &arguments);

/// Whether a name is a verb, perhaps a hidden one.
bool is_verb(const CLI::App &app, const std::string &name);
/// The verbs that the help lists.
std::vector<std::string> listed_verbs(const CLI::App &app);

/// The long options of a verb, with "--".
std::vector<std::string> option_names(const CLI::App &verb);

} // namespace kv::ctl
