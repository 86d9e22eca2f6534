// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kv::ctl {

/// What may stand where the last of the words, perhaps begun, stands. Empty where it is for the shell to say: files.
std::vector<std::string> candidates(const CLI::App &app, const std::vector<std::string> &words);

} // namespace kv::ctl
