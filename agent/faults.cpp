// SPDX-License-Identifier: Apache-2.0
#include "faults.hpp"

#include "stub.hpp"

#include <algorithm>
#include <stdexcept>

namespace kv::virtual_agent {

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
    const bool counts =
        found->form == Fault::Form::delay || found->form == Fault::Form::cut || found->form == Fault::Form::half;
    if (counts && *value < 0)
        throw std::invalid_argument{std::string{found->value} + " cannot be negative"};
    return {found->form, value.value_or(0)};
}

std::optional<Fault> Faults::take(int method)
{
    auto found = next_.find(method);
    if (found == next_.end())
        return std::nullopt;
    const Fault fault = found->second;
    next_.erase(found);
    return fault;
}

Json Faults::view() const
{
    Json all = Json::object();
    for (const auto &[method, fault] : next_)
        all.set(find_method(method)->name, name_of(fault.form));
    return all;
}

} // namespace kv::virtual_agent
