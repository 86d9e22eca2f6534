// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent/json/json.hpp"

#include <string>
#include <vector>

namespace kv::virtual_agent {

/// The request with which an exported function asks agents from a version on.
struct FunctionRequest {
    int since;          // agent version
    const char *method; // of the agent
    /// The request's argument that has the function's arguments as members; null if the request has them itself.
    const char *inside = nullptr;
    int command = 0; // of the generic method
    /// The names of members that older agents know by another name, which scenarios use: old name, new name.
    std::vector<std::pair<const char *, const char *>> renamed{};
};

/// An exported function and its requests, by ascending version.
struct Function {
    std::string name;
    std::vector<FunctionRequest> requests;

    /// The request to an agent of this version; null if the function does not ask such an agent.
    const FunctionRequest *request_to(int version) const;
};

/// The function with a name such as "korvane_start"; null if there is none that asks the agent.
const Function *find_function(const std::string &name);
const std::vector<Function> &all_functions();

/// The arguments of a request that match the arguments of its function.
Json request_arguments(const FunctionRequest &request, const cJSON *function_arguments);

} // namespace kv::virtual_agent
