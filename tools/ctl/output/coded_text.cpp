// SPDX-License-Identifier: Apache-2.0
#include "coded_text.hpp"

namespace kv::ctl {

std::string coded_text(const Json &value, const master::Coding *coding)
{
    const char *name = coding && value.is_number_integer() ? coding->name_of(value.get<int>()) : nullptr;
    return text_of(value) + (name ? std::string{" ("} + name + ")" : "");
}

std::string coded_members_text(const Json &values, const std::string &owner)
{
    std::string text;
    for (const auto &[name, value] : values.items()) {
        const master::Coding *coding = master::coding_of(owner.c_str(), name.c_str());
        text.append(text.empty() ? "" : ", ").append(name).append(" ").append(coded_text(value, coding));
    }
    return text;
}

} // namespace kv::ctl
