// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/ctl/output/json.hpp"

#include <string>

namespace kv::ctl {

/// A JSON object that the agent sent. Reading a member that is missing or has another type throws Failure.
class Reply {
public:
    /// `source` names the object in errors: "the agent's reply to 'journal'". Throws Failure if it is not an object.
    Reply(Json value, std::string source);

    const Json &json() const { return value_; }
    std::string text(const char *member) const;
    long long whole_number(const char *member) const;
    bool flag(const char *member) const;
    const Json &array(const char *member) const;

private:
    const Json &checked(const char *member, bool (Json::*is_wanted)() const noexcept, const char *wanted) const;

    Json value_;
    std::string source_;
};

} // namespace kv::ctl
