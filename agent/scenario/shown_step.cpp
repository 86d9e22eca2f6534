// SPDX-License-Identifier: Apache-2.0
#include "shown_step.hpp"

#include "agent/interface/show.hpp"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>

namespace kv::virtual_agent {

namespace {

/// The names that the interface gives to secrets among the arguments of methods.
class SecretNames {
public:
    SecretNames()
    {
        describe::for_each(master::Methods{}, [this]<class M>() { this->add_all(typename M::in{}); });
    }

    std::set<std::string, std::less<>> values{};
    std::set<std::string, std::less<>> documents{}; // texts that hold secrets among other values

private:
    template <class... E>
    void add_all(describe::In<E...>)
    {
        (add(E{}), ...);
    }

    template <FixedText Name>
    void add(describe::Secret<Name>)
    {
        values.insert(Name.text);
    }
    template <const auto &Documents, FixedText Name>
    void add(describe::DocumentText<Documents, Name>)
    {
        if constexpr (master::may_hold_secrets(Documents))
            documents.insert(Name.text);
        add_members(Documents);
    }
    template <class R, FixedText Name>
    void add(describe::Rec<R, Name>)
    {
        describe::for_each(typename R::fields{}, [this]<class F>() { this->add(typename F::element{}); });
    }
    template <FixedText Array, class R, FixedText Name>
    void add(describe::Arr<describe::RecordArray<Array, R>, Name>)
    {
        add(describe::Rec<R, Name>{});
    }
    template <class Element>
    void add(Element)
    {
    }

    void add_members(const master::Document &document)
    {
        for (int i = 0; i < document.count; ++i)
            if (document.members[i].secret)
                values.insert(document.members[i].key);
    }
    template <int Count>
    void add_members(const master::Command *const (&commands)[Count])
    {
        for (const master::Command *command : commands)
            add_members(*command);
    }
};

const SecretNames &secret_names()
{
    static const SecretNames names;
    return names;
}

/// Whether a value is the mask of a secret. An author writes a secret in this form to compare it.
bool is_mask(const cJSON *value)
{
    constexpr std::string_view mask = "<secret, ";
    return cJSON_IsString(value) && std::string_view{value->valuestring}.substr(0, mask.size()) == mask;
}

Json masked(const cJSON *value)
{
    if (is_mask(value))
        return Json::copy_of(value);
    return Shown::secret(cJSON_IsString(value) ? value->valuestring : text_of(value).c_str());
}

/// A value that the scenario expects under a name. A secret may be inside of a condition. What the journal shows in plain text
/// of the actual value is no secret in this call.
Json shown_value(const cJSON *value, const char *name, bool is_secret, const cJSON *actual)
{
    const bool masks = is_secret || secret_names().values.count(name) > 0;
    if (cJSON_IsObject(value)) {
        Json members = Json::object();
        for (const cJSON *member = value->child; member; member = member->next) {
            const cJSON *inner =
                cJSON_IsObject(actual) ? cJSON_GetObjectItemCaseSensitive(actual, member->string) : actual;
            members.set(member->string, shown_value(member, member->string, masks, inner));
        }
        return members;
    }
    if (cJSON_IsArray(value)) {
        Json items = Json::array();
        const cJSON *inner = cJSON_IsArray(actual) ? actual->child : nullptr;
        for (const cJSON *item = value->child; item; item = item->next, inner = inner ? inner->next : nullptr)
            items.append(shown_value(item, name, masks, inner));
        return items;
    }
    const bool is_shown = cJSON_IsNumber(actual) || (cJSON_IsString(actual) && !is_mask(actual));
    const bool is_document = cJSON_IsString(value) && secret_names().documents.count(name) > 0;
    const bool is_value = cJSON_IsString(value) || cJSON_IsNumber(value);
    return !is_shown && (is_document || (masks && is_value)) ? masked(value) : Json::copy_of(value);
}

/// The members of the steps of phone and cloud that are no secrets.
constexpr std::string_view visible_members[] = {
    "ssid", "index",   "hidden", "kind",    "language", "country", "datetime", "type",    "value",    "nick",
    "code", "outcome", "owner",  "devices", "after_ms", "result",  "reason",   "feature", "accepted", "device_no"};

/// The words and numbers among a command's arguments, and what is no secret of a step of phone or cloud.
Json shown_arguments(const Command &command, const cJSON *arguments)
{
    Json shown = Json::object();
    for (const Parameter &parameter : command.parameters) {
        const cJSON *value = cJSON_GetObjectItemCaseSensitive(arguments, parameter.name);
        if (value && parameter.kind != Parameter::Kind::json)
            shown.set(parameter.name, Json::copy_of(value));
        if (!cJSON_IsObject(value) || std::string_view{parameter.name} != "with")
            continue;
        Json with = Json::object();
        for (const cJSON *member = value->child; member; member = member->next)
            if (std::find(std::begin(visible_members), std::end(visible_members), std::string_view{member->string}) !=
                std::end(visible_members))
                with.set(member->string, Json::copy_of(member));
        shown.set(parameter.name, std::move(with));
    }
    return shown;
}

std::string behind(const std::string &name, const Json &arguments)
{
    return cJSON_GetArraySize(arguments.get()) > 0 ? name + " " + arguments.text() : name;
}

} // namespace

Json shown_expectation(const cJSON *arguments, const cJSON *actual)
{
    return shown_value(arguments, "", false, actual);
}

std::string in_words(const Scenario::Step &step)
{
    switch (step.kind) {
    case Scenario::Step::Kind::command:
        return behind(step.command->name, shown_arguments(*step.command, step.arguments.get()));
    case Scenario::Step::Kind::expect: return behind("expect " + step.text, shown_expectation(step.arguments.get()));
    case Scenario::Step::Kind::never: return behind("never " + step.text, shown_expectation(step.arguments.get()));
    case Scenario::Step::Kind::until: return behind("until", step.arguments);
    case Scenario::Step::Kind::wait: return "wait " + std::to_string(step.within_ms) + " ms";
    case Scenario::Step::Kind::say: return step.text;
    }
    return "";
}

} // namespace kv::virtual_agent
