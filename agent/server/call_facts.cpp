// SPDX-License-Identifier: Apache-2.0
#include "call_facts.hpp"

#include "agent/interface/coded_words.hpp"

namespace kv::virtual_agent {

Json CallFacts::shown_arguments() const
{
    if (!method || method->is_too_long(request.size()))
        return Json::object();
    return method->show_arguments(parcel_of(request).get());
}

Json CallFacts::shown_reply() const
{
    if (reply.empty())
        return Json::object();
    return method ? method->show_reply(parcel_of(reply).get()) : std::move(Json::object().set("result", refused));
}

Json CallFacts::json() const
{
    Json facts = Json::object();
    facts.set("peer", *peer).set("method", method ? method->name : "").set("id", id);
    facts.set("arguments", shown_arguments()).set("answer", shown_reply());
    facts.set("duration_us", duration_us);
    if (fault)
        facts.set("fault", name_of(*fault));
    if (!problem.empty())
        facts.set("problem", problem);
    return facts;
}

std::string CallFacts::words() const
{
    const char *name = method ? method->name : "";
    std::string words =
        *peer + "  " + name + "(" + in_words(shown_arguments(), name) + ")  ->  " + in_words(shown_reply(), name);
    if (fault)
        words += std::string{"  [fault: "} + name_of(*fault) + "]";
    if (!problem.empty())
        words += "  [" + problem + "]";
    return words;
}

} // namespace kv::virtual_agent
