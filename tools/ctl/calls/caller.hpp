// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "slot.hpp"

#include <tuple>

/// How a function of any signature is called with words, and how callbacks of any signature are heard.
namespace kv::ctl {

/// What a callback gets, for people. Handles are read with every function that reads one of their kind.
Json shown_object(const std::string &type, void *pointer);

inline void append(Json &) {}
template <class First, class... Rest>
void append(Json &values, First first, Rest... rest);

template <class... Rest>
void append(Json &values, const char *const *texts, int count, Rest... rest)
{
    values.push_back(Json::array());
    for (int i = 0; i < count; ++i)
        values.back().push_back(texts[i]);
    append(values, rest...);
}
template <class First, class... Rest>
void append(Json &values, First first, Rest... rest)
{
    if constexpr (std::is_arithmetic_v<First>)
        values.push_back(first);
    else if constexpr (std::is_same_v<First, const char *>)
        values.push_back(first ? Json(first) : Json(nullptr));
    else if constexpr (!std::is_same_v<First, korvane_h> && !std::is_same_v<First, void *>)
        values.push_back(shown_object(handle_type<std::remove_pointer_t<First>>(), first));
    append(values, rest...);
}

inline void *last_of(void *user_data)
{
    return user_data;
}
template <class First, class... Rest>
void *last_of(First, Rest... rest)
{
    return last_of(rest...);
}

template <class... Args, class Before>
std::string Slot<void (*)(Args...), Before>::type()
{
    std::string types;
    const auto add = [&types]<class T>() {
        using Plain = std::remove_pointer_t<T>;
        if constexpr (!std::is_same_v<T, korvane_h> && !std::is_same_v<T, void *>) {
            types += types.empty() ? "" : ", ";
            if constexpr (std::is_class_v<Plain>)
                types += handle_type<Plain>();
            else
                types += Slot<T, void>::type();
        }
    };
    (add.template operator()<Args>(), ...);
    return "callback(" + types + ")";
}

/// Set where the table of functions is made.
template <auto F>
inline const char *name_of = nullptr;

/// What is registered for the callback in this place of the function: tells the session what it got.
template <auto F, std::size_t Place, class Callback>
struct Trampoline;

template <auto F, std::size_t Place, class... Args>
struct Trampoline<F, Place, void (*)(Args...)> {
    static void run(Args... args)
    {
        Json values = Json::array();
        append(values, args...);
        static_cast<Session *>(last_of(args...))->heard(name_of<F>, static_cast<int>(Place), values);
    }
};

template <auto F>
struct Caller;

template <class... Params, int (*F)(Params...)>
struct Caller<F> {
    using All = std::tuple<Params...>;
    template <std::size_t I>
    using Param = std::tuple_element_t<I, All>;
    template <std::size_t I>
    struct BeforeOf {
        using type = Param<I - 1>;
    };
    template <std::size_t I>
    using SlotAt =
        Slot<Param<I>, typename std::conditional_t<I == 0, std::type_identity<void>, BeforeOf<I == 0 ? 1 : I>>::type>;
    static constexpr auto places = std::make_index_sequence<sizeof...(Params)>{};

    template <std::size_t I, class S>
    static Param<I> argument(S &slot)
    {
        if constexpr (S::role == Form::Role::callback)
            return Trampoline<F, I, Param<I>>::run;
        else
            return slot.arg();
    }

    template <std::size_t... I>
    static int call(Frame &frame, std::index_sequence<I...>)
    {
        std::tuple<SlotAt<I>...> slots{SlotAt<I>{frame}...};
        const int result = F(argument<I>(std::get<I>(slots))...);
        if (result == 0)
            (std::get<I>(slots).done(frame), ...);
        return result;
    }

    template <std::size_t... I>
    static std::vector<Form> forms(std::index_sequence<I...>)
    {
        return {Form{SlotAt<I>::role, SlotAt<I>::type(), SlotAt<I>::object}...};
    }

    template <std::size_t... I>
    static void check(std::size_t wanted, const Argument &argument, std::index_sequence<I...>)
    {
        std::size_t place = 0;
        const auto look = [&]<class S>() {
            if (S::role == Form::Role::given && place++ == wanted)
                S::check(argument);
        };
        (look.template operator()<SlotAt<I>>(), ...);
    }
};

template <auto F>
Function function_of(const char *name)
{
    using C = Caller<F>;
    name_of<F> = name;
    return {name, C::forms(C::places), [](Frame &frame) { return C::call(frame, C::places); },
            [](std::size_t place, const Argument &argument) { C::check(place, argument, C::places); },
            std::is_same_v<typename C::template Param<0>, korvane_h>};
}

} // namespace kv::ctl
