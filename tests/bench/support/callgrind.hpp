// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "setting.hpp"

#include <string>

// Instructions in user space, counted by callgrind. They are the same in every run of the same program.
namespace kv::test {

struct Instructions {
    double total = 0;
    double own = 0; ///< without the libraries of the system

    Instructions operator-(const Instructions &other) const { return {total - other.total, own - other.own}; }
    Instructions operator/(double count) const { return {total / count, own / count}; }
};

/// Throws std::runtime_error if the file has no counts.
Instructions read_callgrind(const std::string &file);

/// Of the client: the difference of two runs, divided by the difference of their calls.
Instructions instructions_per_call(const Setting &setting, const std::string &client, int few, int many);
/// Of the virtual agent that serves these calls.
Instructions agent_instructions_per_call(const Setting &setting, const std::string &client, int few, int many);

} // namespace kv::test
