// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "registration.hpp"

#include <cstring>
#include <initializer_list>

/// Registrations as rows: the agent's two methods, and per delegate the application's callback type and what is logged.
namespace kv::api {

/// The log form of a value of an event. A secret text is logged by its length.
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

template <const auto &Documents, FixedText Name>
struct Logged<describe::DocumentText<Documents, Name>> : Logged<describe::Secret<Name>> {
};

namespace detail {

/// Passes the values of an event on as they arrive. Logs under Name; an empty Message logs nothing.
template <class AppCallback, FixedText Name, FixedText Message, class Values>
struct PlainTrampoline;

template <class AppCallback, FixedText Name, FixedText Message, class... E>
struct PlainTrampoline<AppCallback, Name, Message, describe::In<E...>> {
    static void call(void *user_data, typename master::Wire<E>::View... values)
    {
        const Caller caller{concat<Name>.text, __builtin_LINE()};
        if constexpr (Message.length() > 0)
            log::info(caller)(Format<Message>{}, Logged<E>::of(values)...);
        deliver<AppCallback>(user_data, caller, values...);
    }
};

} // namespace detail

/// An event whose values the application receives as they arrive. Its log lines name the delegate, or Name if given.
template <class AppCallback, FixedText Message = "", FixedText Name = "">
struct PlainEvent {
    using Callback = AppCallback;
    static constexpr ReleaseEventData release = nullptr;

    template <class D>
    static constexpr auto name = [] {
        if constexpr (Name.length() > 0)
            return Name;
        else
            return concat<"_", D::text>;
    }();
    template <class D>
    static constexpr TrampolineOf trampoline =
        trampoline_of<D, detail::PlainTrampoline<AppCallback, name<D>, Message, typename D::values>::call>;
};

/// An event whose values are converted for the application, by a trampoline of its own. If the session keeps the
/// converted data, Release releases it.
template <class AppCallback, auto Trampoline, ReleaseEventData Release = nullptr>
struct ConvertedEvent {
    using Callback = AppCallback;
    static constexpr ReleaseEventData release = Release;

    template <class D>
    static constexpr TrampolineOf trampoline = trampoline_of<D, Trampoline>;
};

/// The set and unset functions of a kind of event, with one PlainEvent or ConvertedEvent for each of its delegates, in
/// their order. A missing callback logs NullText.
template <class Event, FixedText NullText, class... Events>
class RegistrationOf {
    static constexpr ReleaseEventData release_of_any()
    {
        ReleaseEventData release = nullptr;
        for (ReleaseEventData of_event : {Events::release...})
            if (of_event)
                release = of_event;
        return release;
    }

    template <class... D>
    static consteval RegistrationRow make_row(describe::In<describe::Callback<D>...>)
    {
        return {concat<NullText>.text,
                &master::row_of<typename Event::set>,
                &master::row_of<typename Event::unset>,
                release_of_any(),
                {Events::template trampoline<D>...},
                {D::id...},
                sizeof...(D),
                describe::index_of<Event>(master::Events{}),
                master::minimum_version<typename Event::set>,
                0};
    }

public:
    static constexpr RegistrationRow row = make_row(typename Event::set::in{});

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
