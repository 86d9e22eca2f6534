// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "adapter.hpp"

#include <tuple>

/// Builds, from the signature of an exported function, the code that calls it with text arguments and the trampolines that
/// report its callbacks.
namespace kv::ctl {

// append() adds the arguments of a callback to a JSON array; handles and user data are not values.

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
        values.push_back(object_to_json(handle_type<std::remove_pointer_t<First>>(), first));
    append(values, rest...);
}

/// The user data of a callback, its last argument.
inline void *user_data_of(void *user_data)
{
    return user_data;
}
template <class First, class... Rest>
void *user_data_of(First, Rest... rest)
{
    return user_data_of(rest...);
}

template <class... Args, class Before>
std::string Adapter<void (*)(Args...), Before>::type()
{
    std::string types;
    const auto add = [&types]<class T>() {
        using Plain = std::remove_pointer_t<T>;
        if constexpr (!std::is_same_v<T, korvane_h> && !std::is_same_v<T, void *>) {
            types += types.empty() ? "" : ", ";
            if constexpr (std::is_class_v<Plain>)
                types += handle_type<Plain>();
            else
                types += Adapter<T, void>::type();
        }
    };
    (add.template operator()<Args>(), ...);
    return "callback(" + types + ")";
}

/// The name of a function; function_of() sets it.
template <auto F>
inline const char *name_of = nullptr;

/// The callback that is registered through parameter `Index` of the function: it reports to the session.
template <auto F, std::size_t Index, class Callback>
struct Trampoline;

template <auto F, std::size_t Index, class... Args>
struct Trampoline<F, Index, void (*)(Args...)> {
    static void run(Args... args)
    {
        Json values = Json::array();
        append(values, args...);
        static_cast<Session *>(user_data_of(args...))->report_callback(name_of<F>, static_cast<int>(Index), values);
    }
};

/// Calls a function with one adapter for each parameter.
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
    using AdapterAt =
        Adapter<Param<I>,
                typename std::conditional_t<I == 0, std::type_identity<void>, BeforeOf<I == 0 ? 1 : I>>::type>;
    static constexpr auto indices = std::make_index_sequence<sizeof...(Params)>{};

    template <std::size_t I, class A>
    static Param<I> argument(A &adapter)
    {
        if constexpr (A::role == Parameter::Role::callback)
            return Trampoline<F, I, Param<I>>::run;
        else
            return adapter.arg();
    }

    template <std::size_t... I>
    static int call(Frame &frame, std::index_sequence<I...>)
    {
        std::tuple<AdapterAt<I>...> adapters{AdapterAt<I>{frame}...};
        const int result = F(argument<I>(std::get<I>(adapters))...);
        if (result == 0)
            (std::get<I>(adapters).done(frame), ...);
        return result;
    }

    template <std::size_t... I>
    static std::vector<Parameter> parameters(std::index_sequence<I...>)
    {
        return {Parameter{AdapterAt<I>::role, AdapterAt<I>::type(), AdapterAt<I>::object}...};
    }

    template <std::size_t... I>
    static void check(std::size_t wanted, const Argument &argument, std::index_sequence<I...>)
    {
        std::size_t index = 0;
        const auto check_one = [&]<class A>() {
            if (A::role == Parameter::Role::given && index++ == wanted)
                A::check(argument);
        };
        (check_one.template operator()<AdapterAt<I>>(), ...);
    }
};

template <auto F>
Function function_of(const char *name)
{
    using C = Caller<F>;
    name_of<F> = name;
    return {name, C::parameters(C::indices), [](Frame &frame) { return C::call(frame, C::indices); },
            [](std::size_t index, const Argument &argument) { C::check(index, argument, C::indices); },
            std::is_same_v<typename C::template Param<0>, korvane_h>};
}

} // namespace kv::ctl
