// SPDX-License-Identifier: Apache-2.0
#include "reply.hpp"

#include "tools/ctl/output/failure.hpp"

#include <utility>

namespace kv::ctl {

namespace {

[[noreturn]] void refuse(const std::string &source, const std::string &problem)
{
    throw Failure{failed, "cannot read " + source + ": " + problem +
                              "; check that the program at the control socket is korvane-agent"};
}

} // namespace

Reply::Reply(Json value, std::string source) : value_(std::move(value)), source_(std::move(source))
{
    if (!value_.is_object())
        refuse(source_, "it is not a JSON object");
}

const Json &Reply::checked(const char *member, bool (Json::*is_wanted)() const noexcept, const char *wanted) const
{
    const Json &value = member_of(value_, member);
    if (!(value.*is_wanted)())
        refuse(source_, std::string{"member '"} + member + "' must be " + wanted);
    return value;
}

std::string Reply::text(const char *member) const
{
    return checked(member, &Json::is_string, "text").get<std::string>();
}

long long Reply::whole_number(const char *member) const
{
    return checked(member, &Json::is_number_integer, "a whole number").get<long long>();
}

bool Reply::flag(const char *member) const
{
    return checked(member, &Json::is_boolean, "true or false").get<bool>();
}

const Json &Reply::array(const char *member) const
{
    return checked(member, &Json::is_array, "an array");
}

} // namespace kv::ctl
