// SPDX-License-Identifier: Apache-2.0
#include "faults.hpp"

#include "stub.hpp"

#include <algorithm>
#include <stdexcept>

namespace kv::virtual_agent {

namespace {

constexpr int most = 1'000'000; // bytes or milliseconds

} // namespace

const std::vector<FaultForm> &fault_forms()
{
    using Form = Fault::Form;
    static const std::vector<FaultForm> forms = {
        {"die", nullptr, Form::die, "the agent dies instead of answering"},
        {"silent", nullptr, Form::silent, "no answer ever"},
        {"delay", "MS", Form::delay, "the answer comes so many milliseconds late"},
        {"result", "CODE", Form::result, "the answer is this result; nothing is done"},
        {"kind", "N", Form::kind, "the answer begins with another kind than a result's 0"},
        {"cut", "N", Form::cut, "the answer ends after so many bytes"},
        {"half", "N", Form::half, "the agent dies when so many bytes of the answer are sent"},
        {"garbage", "N", Form::garbage, "the answer is so many random bytes"},
        {"close", nullptr, Form::close, "the link is closed instead of an answer"},
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
        throw std::invalid_argument{"there is no fault '" + name + "'; see help"};
    if (value.has_value() != (found->value != nullptr))
        throw std::invalid_argument{
            "fault " + name + (found->value ? std::string{" wants "} + found->value : std::string{" takes no number"})};
    const bool any_number = found->form == Fault::Form::result || found->form == Fault::Form::kind;
    if (value && !any_number && (*value < 0 || *value > most))
        throw std::invalid_argument{std::string{found->value} + " must be 0 to " + std::to_string(most)};
    return {found->form, value.value_or(0)};
}

void Faults::set(int method, Fault fault, int times)
{
    if (times > 0)
        next_.insert_or_assign(method, Coming{fault, times});
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
    for (const auto &[method, coming] : next_)
        all.set(method == every_method ? "all" : find_method(method)->name,
                std::move(Json::object()
                              .set("fault", name_of(coming.fault.form))
                              .set("value", coming.fault.value)
                              .set("times", coming.times)));
    return all;
}

} // namespace kv::virtual_agent
