// SPDX-License-Identifier: Apache-2.0
#include "description.hpp"

#include <algorithm>
#include <iterator>

namespace kv::ctl {

namespace {

struct Description {
    std::string_view function;
    std::string_view json;
};

constexpr Description descriptions[] = {
#include "function_descriptions.inc" // the build writes it from the comments of korvane.h
};
static_assert(std::size(descriptions) == 179);

} // namespace

Json description_of(std::string_view function)
{
    const auto *found = std::find_if(std::begin(descriptions), std::end(descriptions),
                                     [&](const Description &each) { return each.function == function; });
    return found == std::end(descriptions) ? Json{} : Json::parse(found->json);
}

} // namespace kv::ctl
