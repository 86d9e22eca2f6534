// SPDX-License-Identifier: Apache-2.0
#include "call_facts.hpp"

namespace kv::virtual_agent {

Json CallFacts::arguments() const
{
    return method ? method->show_arguments(parcel_of(request).get()) : Json::object();
}

Json CallFacts::answer() const
{
    if (reply.empty())
        return Json::object();
    return method ? method->show_answer(parcel_of(reply).get()) : std::move(Json::object().set("result", refused));
}

Json CallFacts::json() const
{
    Json facts = Json::object();
    facts.set("peer", *peer).set("method", method ? method->name : "").set("id", id);
    facts.set("arguments", arguments()).set("answer", answer());
    facts.set("duration_us", duration_us);
    if (fault)
        facts.set("fault", name_of(*fault));
    if (!problem.empty())
        facts.set("problem", problem);
    return facts;
}

std::string CallFacts::words() const
{
    std::string words =
        *peer + "  " + (method ? method->name : "") + "(" + in_words(arguments()) + ")  ->  " + in_words(answer());
    if (fault)
        words += std::string{"  [fault: "} + name_of(*fault) + "]";
    if (!problem.empty())
        words += "  [" + problem + "]";
    return words;
}

} // namespace kv::virtual_agent
