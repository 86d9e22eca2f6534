// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kv::ctl {

/// The scripts of this folder, which the build embeds into the program.
extern const char *const bash_script;
extern const char *const zsh_script;
extern const char *const fish_script;

} // namespace kv::ctl
