// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "registration.hpp"

#include <cstring>
#include <initializer_list>
#include <type_traits>

/// Registrations as rows: the agent's two methods, and per delegate the application's callback type and what is logged.
namespace kv::api {

/// How a value of an event is logged. Of a secret text only the length is.
template <class Element>
struct Logged {
    template <class Value>
    static Value of(Value value)
    {
        return value;
    }
    static const char *of(bool value) { return value ? "true" : "false"; }
};

template <FixedText Name>
struct Logged<describe::Secret<Name>> {
    static int of(const char *text) { return text ? static_cast<int>(strlen(text)) : 0; }
};

/// An event whose values the application receives as they arrive. Its trampoline logs under Name; an empty Message logs
/// nothing.
template <class D, class AppCallback, FixedText Name, FixedText Message = "", class Values = typename D::values>
struct PlainEvent;

template <class D, class AppCallback, FixedText Name, FixedText Message, class... E>
struct PlainEvent<D, AppCallback, Name, Message, describe::In<E...>> {
    using Delegate = D;
    using Callback = AppCallback;
    static constexpr ReleaseEventData release = nullptr;

    static void trampoline(void *user_data, typename proxy::Wire<E>::View... values)
    {
        const Caller caller{concat<Name>.text, __builtin_LINE()};
        if constexpr (Message.length() > 0)
            log::info(caller)(Format<Message>{}, Logged<E>::of(values)...);
        deliver<AppCallback>(user_data, caller, values...);
    }
    static constexpr DelegateRow row = delegate_row<D, trampoline>;
};

/// An event whose values are converted for the application, by a trampoline of its own. If the session keeps the
/// converted data, Release releases it.
template <class D, class AppCallback, proxy::DelegateCallback<D> Trampoline, ReleaseEventData Release = nullptr>
struct ConvertedEvent {
    using Delegate = D;
    using Callback = AppCallback;
    static constexpr ReleaseEventData release = Release;

    static constexpr DelegateRow row = delegate_row<D, Trampoline>;
};

/// The set and unset functions of one kind of event. Events are those of the set method's delegates, in their order.
template <EventKind Kind, class SetMethod, class UnsetMethod, FixedText NullText, class... Events>
class RegistrationOf {
    static constexpr ReleaseEventData release_of_any()
    {
        ReleaseEventData release = nullptr;
        for (ReleaseEventData of_event : {Events::release...})
            if (of_event)
                release = of_event;
        return release;
    }

public:
    static_assert(
        std::is_same_v<typename SetMethod::in, describe::In<describe::Callback<typename Events::Delegate>...>>,
        "the set method takes other delegates");
    static_assert(SetMethod::since == UnsetMethod::since && UnsetMethod::in::count == 0);

    static constexpr RegistrationRow row{concat<NullText>.text,
                                         &master::row_of<SetMethod>,
                                         &master::row_of<UnsetMethod>,
                                         release_of_any(),
                                         {Events::row.create...},
                                         {Events::row.id...},
                                         sizeof...(Events),
                                         Kind,
                                         master::minimum_version<SetMethod>,
                                         0};

    [[gnu::always_inline]] static int set(Caller caller, korvane_h handle, typename Events::Callback... callbacks,
                                          void *user_data)
    {
        return set_untyped(caller, handle, user_data, reinterpret_cast<AnyFunction>(callbacks)...);
    }

    static int unset(Caller caller, korvane_h handle) { return unset_callbacks(caller, row, handle); }

private:
    [[gnu::always_inline]] static int set_untyped(Caller caller, korvane_h handle, void *user_data, AnyFunction first,
                                                  AnyFunction second = nullptr)
    {
        return set_callbacks(caller, row, handle, first, second, user_data);
    }
};

} // namespace kv::api
