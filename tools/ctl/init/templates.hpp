// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>

namespace kv::ctl {

/// A file of a new application.
struct Template {
    const char *language;
    const char *file;
    const char *content; // "@NAME@" is replaced by the name of the application
};

extern const std::span<const Template> templates;

} // namespace kv::ctl
