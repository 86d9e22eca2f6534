// SPDX-License-Identifier: Apache-2.0
#include "faults.hpp"

#include "agent/interface/methods.hpp"

#include <algorithm>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr int max_value = 1'000'000; // bytes or milliseconds

} // namespace

const std::vector<FaultForm> &fault_forms()
{
    using Form = Fault::Form;
    static const std::vector<FaultForm> forms = {
        {"die", nullptr, Form::die, "kills the agent before it replies"},
        {"silent", nullptr, Form::silent, "sends no reply"},
        {"delay", "MS", Form::delay, "sends the reply after MS milliseconds"},
        {"result", "CODE", Form::result, "replies with the result CODE and does not serve the request"},
        {"kind", "N", Form::kind, "sends a reply of kind N; the kind of a reply is 0"},
        {"cut", "N", Form::cut, "sends only the first N bytes of the reply"},
        {"half", "N", Form::half, "sends N bytes of the reply's frame and kills the agent"},
        {"garbage", "N", Form::garbage, "sends N random bytes as the reply"},
        {"close", nullptr, Form::close, "closes the link without a reply"},
    };
    return forms;
}

const char *name_of(Fault::Form form)
{
    for (const FaultForm &known : fault_forms())
        if (known.form == form)
            return known.name;
    return "";
}

Fault parse_fault(const std::string &name, const std::optional<int> &value)
{
    const auto &forms = fault_forms();
    auto found = std::find_if(forms.begin(), forms.end(), [&](const FaultForm &form) { return name == form.name; });
    if (found == forms.end())
        throw std::invalid_argument{"there is no fault '" + name + "'; 'help' lists them"};
    if (value.has_value() != (found->value != nullptr))
        throw std::invalid_argument{
            "fault " + name + (found->value ? std::string{" needs "} + found->value : std::string{" takes no number"})};
    const bool any_number = found->form == Fault::Form::result || found->form == Fault::Form::kind;
    if (value && !any_number && (*value < 0 || *value > max_value))
        throw std::invalid_argument{std::string{found->value} + " must be 0 to " + std::to_string(max_value)};
    return {found->form, value.value_or(0)};
}

void Faults::set(int method, Fault fault, int times)
{
    if (times > 0)
        next_.insert_or_assign(method, Pending{fault, times});
    else
        next_.erase(method);
}

std::optional<Fault> Faults::take_one(int method)
{
    auto found = next_.find(method);
    if (found == next_.end())
        return std::nullopt;
    const Fault fault = found->second.fault;
    if (--found->second.times == 0)
        next_.erase(found);
    return fault;
}

std::optional<Fault> Faults::take(int method)
{
    const std::optional<Fault> own = take_one(method);
    return own ? own : take_one(every_method);
}

Json Faults::view() const
{
    Json all = Json::object();
    for (const auto &[method, pending] : next_)
        all.set(method == every_method ? "all" : find_method(method)->name,
                std::move(Json::object()
                              .set("fault", name_of(pending.fault.form))
                              .set("value", pending.fault.value)
                              .set("times", pending.times)));
    return all;
}

} // namespace kv::virtual_agent
