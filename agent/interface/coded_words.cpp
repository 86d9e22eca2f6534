// SPDX-License-Identifier: Apache-2.0
#include "coded_words.hpp"

#include "src/kv_master/codings.hpp"

namespace kv::virtual_agent {

std::string in_words(const Json &values, const char *owner)
{
    std::string words;
    for (const cJSON *member = values.get()->child; member; member = member->next) {
        words.append(words.empty() ? "" : ", ").append(member->string).append(" ").append(text_of(member));
        const master::Coding *coding = cJSON_IsNumber(member) ? master::coding_of(owner, member->string) : nullptr;
        if (const char *name = coding ? coding->name_of(member->valueint) : nullptr)
            words.append(" (").append(name).append(")");
    }
    return words;
}

} // namespace kv::virtual_agent
